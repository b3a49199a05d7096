# What `cmake --install` lays out: headers, the library, a CMake package and a pkg-config file. The programs install
# themselves where they are made. Both files find what belongs to them from where they lie themselves, so that a prefix
# may be chosen late, or moved.
include(CMakePackageConfigHelpers)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/gaizior)
set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS gaizior EXPORT gaizior_targets FILE_SET HEADERS)
install(FILES gaizior/errors/error_codes.inc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gaizior/errors)
install(FILES ${GAIZIOR_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT gaizior_targets NAMESPACE gaizior:: FILE gaizior-targets.cmake DESTINATION ${package})
configure_file(cmake/gaizior-config.cmake.in gaizior-config.cmake @ONLY)
write_basic_package_version_file(gaizior-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/gaizior-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/gaizior-config-version.cmake
    DESTINATION ${package})

file(RELATIVE_PATH GAIZIOR_PC_TO_PREFIX /${pkgconfig} /)
string(REGEX REPLACE "/$" "" GAIZIOR_PC_TO_PREFIX ${GAIZIOR_PC_TO_PREFIX})
if(GAIZIOR_FRAMEWORK)
    set(GAIZIOR_PC_DEFINITIONS " '-DGAIZIOR_FRAMEWORK=<${GAIZIOR_FRAMEWORK}>'")
endif()
configure_file(cmake/gaizior.pc.in gaizior.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/gaizior.pc DESTINATION ${pkgconfig})
