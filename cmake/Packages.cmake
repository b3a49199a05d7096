# What `cpack` makes of what is installed: a .deb on Linux, on Windows a .zip that runs as it lies. The programs and the
# library in them are stripped; the build tree keeps what a debugger needs.

if(WIN32)
    set(documents .) # at the top, where who unpacks it looks first
    set(CPACK_GENERATOR ZIP)
else()
    set(documents ${CMAKE_INSTALL_DOCDIR})
    set(CPACK_GENERATOR DEB)
endif()
# What a package holds beyond what is installed.
install(FILES README.md DESTINATION ${documents} COMPONENT package EXCLUDE_FROM_ALL)
install(DIRECTORY docs samples DESTINATION ${documents} COMPONENT package EXCLUDE_FROM_ALL
    FILES_MATCHING PATTERN *.md PATTERN *.job PATTERN *.plates)
foreach(other libcli11-dev gcc-mingw-w64-base mingw-w64-common) # what programs and runtime DLLs contain
    if(EXISTS /usr/share/doc/${other}/copyright AND (WIN32 OR other STREQUAL libcli11-dev))
        install(FILES /usr/share/doc/${other}/copyright DESTINATION ${documents}/licences RENAME ${other}.txt
            COMPONENT package EXCLUDE_FROM_ALL)
    endif()
endforeach()
set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR};gaizior;ALL;/;${PROJECT_BINARY_DIR};gaizior;package;/")

set(CPACK_PACKAGE_VENDOR gaizior)
set(CPACK_PACKAGE_CONTACT gaizior)
set(CPACK_PACKAGE_DESCRIPTION "Result codes with their texts, an error stack, levelled logging, strings, text
files, times, threads and locks that tell who holds them, and a message channel
between processes that survives their deaths: the shared library, its headers,
a CMake package and a pkg-config file.
.
With it come bench, the service engineer's tool, and imager, the process that
exposes plates, with a simulated engine.")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++ (>= 4:12), cmake | pkgconf")
file(CONFIGURE OUTPUT debian/triggers CONTENT "activate-noawait ldconfig\n")
file(CONFIGURE OUTPUT debian/shlibs
    CONTENT "libgaizior ${PROJECT_VERSION_MAJOR} gaizior (>= ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers ${PROJECT_BINARY_DIR}/debian/shlibs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian_package.cmake)
include(CPack)
