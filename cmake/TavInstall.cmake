# Installs library and headers, the package that find_package(tavexpression CONFIG) finds and the file that pkg-config
# reads; cpack makes Debian packages of them.
include(CMakePackageConfigHelpers)

set(tav_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tavexpression)
set(tav_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# `dev` is what a compiler needs, `runtime` what programs need that were linked to the shared library.
install(TARGETS tavexpression tavevaluator EXPORT tavexpressionTargets COMPONENT dev
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME dev)
install(DIRECTORY host expression DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavexpression
        FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
install(FILES evaluator/tavevaluator.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavexpression/evaluator)
install(FILES tools/gdb/tavexpression.py DESTINATION ${CMAKE_INSTALL_DATADIR}/tavexpression/gdb)
if(TARGET tavmodelfile)
  # A component of the package, found on request: only its users need zlib and bzip2.
  set(tav_modelfile_headers tavmodelfile.h build.h file_error.h file_model.h names.h number_text.h
                            numbered_names.h)
  install(TARGETS tavmodelfile EXPORT tavmodelfileTargets COMPONENT dev
          LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev)
  list(TRANSFORM tav_modelfile_headers PREPEND modelfile/)
  install(FILES ${tav_modelfile_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavexpression/modelfile)
  install(EXPORT tavmodelfileTargets NAMESPACE tavexpression:: DESTINATION ${tav_package_dir})
endif()
install(EXPORT tavexpressionTargets NAMESPACE tavexpression:: DESTINATION ${tav_package_dir})

configure_package_config_file(cmake/tavexpressionConfig.cmake.in ${PROJECT_BINARY_DIR}/tavexpressionConfig.cmake
                              INSTALL_DESTINATION ${tav_package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tavexpressionConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tavexpressionConfig.cmake ${PROJECT_BINARY_DIR}/tavexpressionConfigVersion.cmake
        DESTINATION ${tav_package_dir})

# Paths are relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH tav_prefix_from_pc /${tav_pc_dir} /)
string(REGEX REPLACE "/$" "" tav_prefix_from_pc ${tav_prefix_from_pc})
if(TAV_PLAIN_ALLOC)
  set(tav_pc_definitions " -DTAV_PLAIN_ALLOC")
endif()
set(tav_pc_libraries tavexpression tavevaluator)
if(TARGET tavmodelfile)
  list(APPEND tav_pc_libraries tavmodelfile)
endif()
foreach(library IN LISTS tav_pc_libraries)
  configure_file(cmake/${library}.pc.in ${PROJECT_BINARY_DIR}/${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${tav_pc_dir})
endforeach()
