set(root ${BUILD}/install_test)
file(REMOVE_RECURSE ${root})
function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${root}/prefix)
run(${CMAKE_COMMAND} -S ${OUTSIDE} -B ${root}/build -G ${GENERATOR} -D CMAKE_PREFIX_PATH=${root}/prefix
    -D CMAKE_FIND_ROOT_PATH=${root}/prefix -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_BUILD_TYPE=Release
    -D "CMAKE_CXX_FLAGS=$<$<BOOL:${SANITIZE}>:>")
run(${CMAKE_COMMAND} --build ${root}/build)
file(GLOB program ${root}/build/outside ${root}/build/outside.exe)
file(COPY ${program} DESTINATION ${root}/prefix/bin)
get_filename_component(name ${program} NAME)
run(${EMULATOR} ${root}/prefix/bin/${name})
