# What `cmake --install` puts where: libraries, vexoplay, headers under include/vexo, and the CMake package.
include(CMakePackageConfigHelpers)

set(vexo_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vexo)
install(TARGETS vexo oriplayerVS EXPORT vexoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexo)
install(TARGETS orisubtitlesVS LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})  # beside the engine, which opens it
install(EXPORT vexoTargets NAMESPACE vexo:: DESTINATION ${vexo_package_dir})

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vexoConfig.cmake.in ${PROJECT_BINARY_DIR}/vexoConfig.cmake
                              INSTALL_DESTINATION ${vexo_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vexoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vexoConfig.cmake ${PROJECT_BINARY_DIR}/vexoConfigVersion.cmake
        DESTINATION ${vexo_package_dir})

# The tree finds itself wherever the prefix is moved to.
set_target_properties(vexo oriplayerVS PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET vexoplay)
  file(RELATIVE_PATH vexo_libdir_from_bindir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(vexoplay PROPERTIES INSTALL_RPATH "$ORIGIN/${vexo_libdir_from_bindir}")
  install(TARGETS vexoplay RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

foreach(header ${VEXO_INSTALLED_HEADERS})
  cmake_path(GET header PARENT_PATH room)
  install(FILES ${PROJECT_SOURCE_DIR}/src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexo/${room})
endforeach()
