# Run by cpack when all that the .deb is to hold lies in its folder: lets everybody read it, compresses the manual pages, and says what the
# programs and the library depend on. cpack's own way to that wants one tool more and adds scripts that run ldconfig,
# for which Debian has triggers.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
file(CHMOD_RECURSE ${root}/usr DIRECTORY_PERMISSIONS # whatever the umask
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
file(GLOB pages ${root}/usr/share/man/man1/*.1)
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)

find_program(SHLIBDEPS dpkg-shlibdeps)
if(SHLIBDEPS)
    file(GLOB files ${root}/usr/bin/* ${root}/usr/lib/*.so.?)
    file(MAKE_DIRECTORY ${root}/DEBIAN) # by this it knows a package's folder
    file(WRITE ${root}/debian/control "")
    execute_process(COMMAND ${SHLIBDEPS} -O --ignore-missing-info ${files}
        WORKING_DIRECTORY ${root} OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${root}/DEBIAN ${root}/debian)
    string(REPLACE "shlibs:Depends=" "" CPACK_DEBIAN_PACKAGE_DEPENDS ${found})
else()
    # Without that tool (package dpkg-dev): what it is built with is enough.
    execute_process(COMMAND dpkg --print-architecture
        OUTPUT_VARIABLE system OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-query --show --showformat "\${Package} (>= \${Version}), "
        libc6:${system} libgcc-s1:${system} libstdc++6:${system}
        OUTPUT_VARIABLE found COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE ", $" "" CPACK_DEBIAN_PACKAGE_DEPENDS ${found})
endif()
