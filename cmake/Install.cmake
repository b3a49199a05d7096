# What `cmake --install` lays out: headers, the library, a CMake package and a pkg-config file. The programs install
# themselves where they are made.
include(CMakePackageConfigHelpers)

install(TARGETS gaizior EXPORT gaizior_targets FILE_SET HEADERS)
install(FILES gaizior/errors/error_codes.inc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gaizior/errors)
install(FILES ${GAIZIOR_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT gaizior_targets NAMESPACE gaizior:: FILE gaizior-config.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/gaizior)
write_basic_package_version_file(gaizior-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/gaizior-config-version.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/gaizior)

configure_file(cmake/gaizior.pc.in gaizior.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/gaizior.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
