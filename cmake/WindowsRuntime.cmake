# Host and library exchange streams and exceptions, so both use the shared C++ runtime: its DLLs are put beside the
# programs, without them nothing starts. They come with debug information, the greater part of them by far.
set(GAIZIOR_RUNTIME_DLLS "")
if(WIN32)
    file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${PROJECT_BINARY_DIR}/runtime)
    foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE ${path})
            find_file(RUNTIME_${dll} ${dll} PATHS /usr/x86_64-w64-mingw32/lib NO_DEFAULT_PATH
                NO_CMAKE_FIND_ROOT_PATH REQUIRED)
            set(path ${RUNTIME_${dll}})
        endif()
        set(stripped ${PROJECT_BINARY_DIR}/runtime/${dll})
        execute_process(COMMAND ${CMAKE_STRIP} --preserve-dates -o ${stripped} ${path} COMMAND_ERROR_IS_FATAL ANY)
        file(COPY_FILE ${stripped} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll} ONLY_IF_DIFFERENT)
        list(APPEND GAIZIOR_RUNTIME_DLLS ${stripped})
    endforeach()
endif()
