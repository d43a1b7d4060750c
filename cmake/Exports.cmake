# Both libraries export this project's names alone.
foreach(library vexo oriplayerVS)
  target_link_options(${library} PRIVATE -Wl,--version-script=${CMAKE_CURRENT_LIST_DIR}/exports.map)
  set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/exports.map)
endforeach()
