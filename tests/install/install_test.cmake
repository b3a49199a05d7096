set(root ${BUILD}/install_test)
set(examples ${root}/examples)
set(ENV{LC_ALL} C)
file(REMOVE_RECURSE ${root})

set(FLAGS "")
if(SANITIZE)
    set(FLAGS -fsanitize=${SANITIZE})
endif()
cmake_host_system_information(RESULT cores QUERY NUMBER_OF_LOGICAL_CORES)

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()
function(expect text pattern)
    if(NOT text MATCHES "${pattern}")
        message(FATAL_ERROR "'${text}' is not '${pattern}'")
    endif()
endfunction()

# build_outside(FOLDER OPTION...): builds the outside project in that folder.
function(build_outside folder)
    run(${CMAKE_COMMAND} -S ${OUTSIDE} -B ${root}/${folder} -G ${GENERATOR} -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
        -D CMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} -D CMAKE_CXX_FLAGS=${FLAGS} -D EXAMPLES=${examples} ${ARGN})
    run(${CMAKE_COMMAND} --build ${root}/${folder} --parallel ${cores})
endfunction()

# README's examples become programs: example1, example2, ...
file(READ ${SOURCE}/README.md rest)
set(count 0)
while(rest MATCHES "```cpp\n(.*)$")
    set(rest "${CMAKE_MATCH_1}")
    string(FIND "${rest}" "```" length)
    string(SUBSTRING "${rest}" 0 ${length} example)
    math(EXPR count "${count} + 1")
    file(WRITE ${examples}/example${count}.cpp "${example}")
endwhile()
expect("${count} examples" "^[1-9]")

include(${CMAKE_CURRENT_LIST_DIR}/install.cmake)

# The programs run where they lie.
file(MAKE_DIRECTORY ${root}/names)
set(ENV{GAIZIOR_SHM_DIR} ${root}/names)
file(GLOB bench ${prefix}/bin/bench ${prefix}/bin/bench.exe)
file(GLOB imager ${prefix}/bin/imager ${prefix}/bin/imager.exe)
foreach(program bench imager)
    execute_process(COMMAND ${EMULATOR} ${${program}} --version OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
    expect("${told}" "^${program} [(]gaizior[)] ${VERSION}\r?\n$")
endforeach()
run(${EMULATOR} ${bench} image ${job} --speed 100000)
if(RESOURCES)
    string(REPLACE . ", " numbers ${VERSION})
    foreach(name bench.exe imager.exe gaizior.dll)
        execute_process(COMMAND ${RESOURCES} ${prefix}/bin/${name} OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
        expect("${told}" " FILEVERSION ${numbers}, 0\n.*\"OriginalFilename\", \"${name}\"\n.*\"${VERSION}\"\n")
    endforeach()
endif()

build_outside(installed -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_BUILD_TYPE=Release
    -D WARNINGS=${SOURCE}/cmake/Warnings.cmake)
file(GLOB programs ${root}/installed/example? ${root}/installed/example?.exe)
list(LENGTH programs found)
expect("${found}" "^${count}$")
file(COPY ${programs} DESTINATION ${prefix}/bin)
foreach(program ${programs})
    cmake_path(GET program FILENAME name)
    run(${EMULATOR} ${prefix}/bin/${name})
endforeach()

# An application of threads ends in order on Ctrl-C.
file(GLOB application ${root}/installed/application ${root}/installed/application.exe)
file(COPY ${application} DESTINATION ${prefix}/bin)
cmake_path(GET application FILENAME name)
execute_process(COMMAND ${EMULATOR} ${prefix}/bin/${name} raise OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
expect("${told}" "machine: stopped: [^\n]+\r?\nexposer: ended: [^\n]+\r?\nstacker: [0-9]+ plates are left")

# A compiler of another standard is told so, and nothing else.
execute_process(COMMAND ${COMPILER} -std=c++17 -fsyntax-only -I ${prefix}/include ${examples}/example1.cpp
    ERROR_VARIABLE told)
string(REGEX MATCHALL "error: [^\n]*" errors "${told}")
expect("${errors}" "^error: gaizior needs C[+][+]20[^;]*$")

# What pkg-config tells is enough to build with.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
    file(GLOB_RECURSE file ${prefix}/gaizior.pc)
    cmake_path(GET file PARENT_PATH folder)
    set(ENV{PKG_CONFIG_PATH} ${folder})
    run(${PKG_CONFIG} --validate gaizior)
    execute_process(COMMAND ${PKG_CONFIG} --cflags --libs gaizior OUTPUT_VARIABLE words COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(words UNIX_COMMAND ${words})
    run(${COMPILER} ${FLAGS} ${examples}/example1.cpp -o ${root}/by_pkg_config ${words})
else()
    message("not checked, since it is not here: pkg-config")
endif()

# As a folder it brings the library alone, makes no errors of warnings and installs nothing.
if(NOT SANITIZE)
    build_outside(folder -D FOLDER=${SOURCE})
    run(${CMAKE_COMMAND} --install ${root}/folder --prefix ${root}/nothing)
    file(GLOB_RECURSE installed ${root}/nothing/*)
    expect("${installed}" "^$")
    file(READ ${root}/folder/compile_commands.json commands)
    if(commands MATCHES "-Werror")
        message(FATAL_ERROR "gaizior makes errors of warnings in other projects")
    endif()
endif()

# On another system the package is refused with a reason.
file(GLOB_RECURSE config ${prefix}/gaizior-config.cmake)
cmake_path(GET config PARENT_PATH folder)
set(CMAKE_SYSTEM_NAME Elsewhere)
find_package(gaizior QUIET CONFIG PATHS ${folder} NO_DEFAULT_PATH)
expect("${gaizior_FOUND}" "^(0|FALSE)$")
expect("${gaizior_NOT_FOUND_MESSAGE}" "is built for [A-Za-z]+ and not for Elsewhere")

if(NOT TOOLCHAIN)
    run(bash ${CMAKE_CURRENT_LIST_DIR}/words_test.sh ${prefix} ${SOURCE}/samples)
endif()
