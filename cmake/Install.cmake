# What `cmake --install` puts where: libraries, vexoplay, headers under include/vexo, and the CMake package.
include(CMakePackageConfigHelpers)

set(vexo_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vexo)
install(TARGETS vexo oriplayerVS EXPORT vexoTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexo)
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

# Whole rooms first, then single headers: what applications include and what those include in turn. tests/project holds
# that each of them compiles on its own from the installed place.
set(vexo_headers_dir ${CMAKE_INSTALL_INCLUDEDIR}/vexo)
foreach(room interface base/oriplayer base/protocols render)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/${room}/ DESTINATION ${vexo_headers_dir}/${room}
          FILES_MATCHING PATTERN "*.h")
endforeach()
foreach(header base/live_stream_sdk.h mixed/base_player_interface.h mixed/mixed_codecs_player.h codec/i_codec.h
               codec/codec_media_process.h codec/codec_net_process.h codec/qz_impair_info.h)
  cmake_path(GET header PARENT_PATH room)
  install(FILES ${PROJECT_SOURCE_DIR}/src/${header} DESTINATION ${vexo_headers_dir}/${room})
endforeach()
