#pragma once

#include <string>

#include "interface/export.h"
#include "interface/vexo_params.h"

namespace VexoPlayerNS {

/// What an application implements to receive the events and pictures of its player.
/// Both operations must not throw and must not wait for a thread that calls or destroys the player. Inside them the
/// commands of the player return at once, and its last reference may be dropped.
/// Life: the object outlives every callback: see the two forms of IVexoPlayer::create.
class VEXO_API IVexoPlayerCallback {
public:
    virtual ~IVexoPlayerCallback() = default;

    /// One event: `code` is its number, `sid` names what it belongs to: bits 16 to 23 the timeline (0 main, 1
    /// isolated), 8 to 15 the period, 0 to 7 the source within a period of mixed codecs.
    ///
    /// Params: with `msg` "notify_win_ios_android" key "1" holds an oriplayer::Param; its strings are valid during the
    ///         call. With "notify_win" keys "1" and "2" hold a std::string each.
    /// Thread: a looper of the player; two of them can call this at the same time.
    virtual void onPlayEvent(int sid, int code, std::string msg, VexoParams params) = 0;

    /// One picture, 8-bit I420. `planes` holds Y, U and V; the array and the planes are valid during the call only.
    /// With kVideoPipelineEnable false this player's own pictures are not delivered. The oldest facade player of the
    /// process, whatever its option, receives the pictures of every later one that has the option on.
    /// Params: ints under "video_width", "video_height", "video_type", "y_stride", "u_stride", "v_stride" (bytes).
    /// Thread: the engine's picture thread; of the player only the four commands and getParam may be called.
    virtual void onVideoFrame(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                              int height, VexoParams params) = 0;
};

}  // namespace VexoPlayerNS
