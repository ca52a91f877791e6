# Installs library, headers and the package that find_package(tavexpression CONFIG) finds.
include(CMakePackageConfigHelpers)

set(tav_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tavexpression)
install(TARGETS tavexpression EXPORT tavexpressionTargets)
install(DIRECTORY host expression DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavexpression
        FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
install(EXPORT tavexpressionTargets NAMESPACE tavexpression:: DESTINATION ${tav_package_dir})

configure_package_config_file(cmake/tavexpressionConfig.cmake.in ${PROJECT_BINARY_DIR}/tavexpressionConfig.cmake
                              INSTALL_DESTINATION ${tav_package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tavexpressionConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tavexpressionConfig.cmake ${PROJECT_BINARY_DIR}/tavexpressionConfigVersion.cmake
        DESTINATION ${tav_package_dir})
