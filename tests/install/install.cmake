# Installs what the test looks at and sets `prefix` to where it lies and `job` to a sample: on Windows the unpacked
# package; on Debian the installed one, in a folder with a database of packages of its own, so that the machine stays as
# it is and nobody needs to be root; elsewhere, and with sanitizers, what `cmake --install` lays out.

# make_package(PATTERN): makes the package and sets `package` to its file.
function(make_package pattern)
    run(${CMAKE_CPACK_COMMAND} --config ${BUILD}/CPackConfig.cmake -B ${root})
    file(GLOB package ${root}/${pattern})
    set(package ${package} PARENT_SCOPE)
endfunction()

find_program(DPKG dpkg)
if(TOOLCHAIN)
    make_package(gaizior-${VERSION}-*.zip)
    file(ARCHIVE_EXTRACT INPUT ${package} DESTINATION "${root}/unpacked here")
    file(GLOB prefix "${root}/unpacked here/gaizior-*")
elseif(DPKG AND EXISTS /etc/debian_version AND NOT SANITIZE)
    make_package(gaizior_${VERSION}_*.deb)
    set(database ${root}/machine/var/lib/dpkg)
    file(MAKE_DIRECTORY ${database}/info ${database}/updates)
    # The C++ runtime is all that it may ask for.
    string(REGEX REPLACE ".*_(.*)[.]deb$" "\\1" system ${package})
    run(dpkg-query --status libc6:${system} libgcc-s1:${system} libstdc++6:${system} OUTPUT_FILE ${database}/status)
    # Small systems are set up to leave manual pages and documents out.
    run(${DPKG} --root=${root}/machine --log=${root}/dpkg.log --force-not-root --force-bad-path --path-include=*
        --install ${package})
    set(prefix ${root}/machine/usr)

    execute_process(COMMAND dpkg-deb --field ${package} Depends OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
    expect("${told}" "^libc6 [(]>= [0-9][^,]*, libgcc-s1 [(]>= [0-9][^,]*, libstdc[+][+]6 [(]>= [0-9][^,]*[)]\n$")
    execute_process(COMMAND dpkg-deb --contents ${package} OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE "(^|\n)([-d]rwxr-xr-x|-rw-r--r--|lrwxrwxrwx) root/root [^\n]*" "" told "${told}")
    expect("${told}" "^\n$")
else()
    set(prefix ${root}/prefix)
    set(job ${SOURCE}/samples/newspaper.job)
    run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})
    if(NOT SANITIZE)
        message("not checked, since it is not here: dpkg")
    endif()
    return()
endif()

file(GLOB_RECURSE job ${prefix}/newspaper.job)

# What is installed without a package is the same.
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${root}/plain)
foreach(folder bin include lib)
    file(GLOB_RECURSE packed RELATIVE ${prefix} ${prefix}/${folder}/*)
    file(GLOB_RECURSE plain RELATIVE ${root}/plain ${root}/plain/${folder}/*)
    if(NOT plain STREQUAL packed)
        message(FATAL_ERROR "the package has ${packed} in ${folder}, --install lays out ${plain}")
    endif()
endforeach()

# Packages have no debug information.
file(GLOB binaries ${prefix}/bin/* ${prefix}/lib/libgaizior.so)
foreach(binary ${binaries})
    file(STRINGS ${binary} found REGEX "\\.debug_info")
    if(found)
        message(FATAL_ERROR "${binary} has debug information")
    endif()
endforeach()
