#pragma once

#include <memory>
#include <string>

#include "interface/any.h"
#include "interface/export.h"
#include "interface/vexo_media_source.h"
#include "interface/vexo_params.h"
#include "interface/vexo_player_callback.h"

namespace VexoPlayerNS {

// Options of a player, for create and setParams.
constexpr char kVideoPipelineEnable[] = "videoPipelineEnable";  ///< bool, true by default: see Pictures below
constexpr char kAudioPipelineEnable[] = "audioPipelineEnable";  ///< bool, stored only
constexpr char kAudioVolume[] = "audio_volume";                 ///< float, 0.0 to 1.0
constexpr char kAudioDeviceId[] = "audio_device_id";            ///< std::string

// Options of a source, for IVexoMediaSource::create: std::string, int or float. A string literal is none of these and
// arrives as an empty text: write std::string("..."). The text of event 501 names the options that are empty.
constexpr char kQzrtpAppId[] = "qzrtp_app_id";
constexpr char kQzrtpDeviceId[] = "qzrtp_device_id";
constexpr char kQzrtpDownloadHost[] = "qzrtp_download_host";
constexpr char kQzrtpDownloadHttpPort[] = "qzrtp_download_httpport";
constexpr char kQzrtpDownloadIp[] = "qzrtp_download_ip";
constexpr char kQzrtpDownloadStreamId[] = "qzrtp_download_stream_id";
constexpr char kQzrtpDownloadToken[] = "qzrtp_download_token";
constexpr char kQzrtpEnablePlaylist[] = "qzrtp_enable_playlist";
constexpr char kQzrtpStreamAlias[] = "qzrtp_stream_alias";

/// A player. Set a source, a surface if it needs one, then call prepareAsync() and start(), in this order. Results and
/// errors are events at the callback.
///
/// Threads:  any. prepareAsync, start, stop and setDisplay run later, one after another in the order accepted; they
///           wait while one of them is running, except inside a callback of this player, where they return at once.
///           setMediaSource, setParams and getParam run immediately and can overtake commands that wait.
/// Sources:  prepareAsync, start and stop act on the source that was set when they were called. If another one is set
///           before they run, they do nothing: `stop(); setMediaSource(next); prepareAsync(); start();` plays `next`.
/// Pictures: with kVideoPipelineEnable, which is on by default, they go to onVideoFrame and a surface shows nothing.
///           Create the player with that option false to play into a surface. The oldest facade player of the process,
///           whatever its option, receives the pictures of every later one that has the option on: use
///           MixedCodecsPlayer for several players with pictures.
/// End:      after the destruction no callback runs. If the last reference is dropped inside a callback, the drop
/// returns
///           at once and no further callback begins; one that is running on another thread may still finish.
class VEXO_API IVexoPlayer {
public:
    /// `callback` may be null; otherwise it must outlive the player. If the last reference may be dropped inside a
    /// callback, use the other overload: with this one you cannot know when the player has ended. Options of another
    /// type or name are ignored. Throws only if there is no thread or memory.
    static std::shared_ptr<IVexoPlayer> create(IVexoPlayerCallback *callback, VexoParams params);
    /// Shares `callback` and releases it when no callback is running or can start. If the last reference to the player
    /// was dropped inside a callback, a thread of the library releases it.
    static std::shared_ptr<IVexoPlayer> create(std::shared_ptr<IVexoPlayerCallback> callback, VexoParams params);

    virtual ~IVexoPlayer() = default;
    /// Stops playback and sets `source`; null is ignored. If two threads set sources at the same time, the later call
    /// wins. Releases the surface: call setDisplay again. A setDisplay that is still waiting acts on `source`.
    virtual void setMediaSource(std::shared_ptr<IVexoMediaSource> source) = 0;
    /// Opens the source; event 1000 when it can play. A second call seeks to 0.
    virtual void prepareAsync() = 0;
    /// Plays as soon as the source is prepared. After the last 1001 it plays nothing: call prepareAsync() and start()
    /// to play the source again.
    virtual void start() = 0;
    /// Stops playback and releases the source: set one again before the next prepareAsync().
    virtual void stop() = 0;
    /// Sets the native window of the system for the pictures, null for none. The facade does not keep it.
    virtual void setDisplay(void *surface) = 0;
    virtual void setParams(VexoParams params) = 0;
    /// Returns a float for kAudioVolume, below 0 if none was set, and an empty value for every other key. Never waits.
    virtual nonstd::any getParam(std::string key) = 0;
};

}  // namespace VexoPlayerNS
