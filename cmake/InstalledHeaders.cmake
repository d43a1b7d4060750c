# The headers that applications see, relative to src/: whole rooms, then single ones. Each includes installed ones only;
# tests/project compiles every one on its own from the installed place.
set(VEXO_INSTALLED_HEADERS base/live_stream_sdk.h base/thread_annotations.h
    player/vexo_reporter.h mixed/base_player_interface.h mixed/mixed_codecs_player.h codec/i_codec.h
    codec/codec_play_state.h codec/media_keys.h codec/codec_media_process.h codec/codec_net_process.h
    codec/qz_impair_info.h)
foreach(room interface base/oriplayer base/protocols render)
  file(GLOB room_headers RELATIVE ${PROJECT_SOURCE_DIR}/src CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${room}/*.h)
  list(APPEND VEXO_INSTALLED_HEADERS ${room_headers})
endforeach()
