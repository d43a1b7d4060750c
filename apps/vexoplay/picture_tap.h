#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "bound_log.h"
#include "picture_hash.h"
#include "picture_slot.h"
#include "render/i_render_middleware.h"
#include "y4m_writer.h"

namespace vexoplay {

/// Takes the pictures on their way out of the engine: counts them for the bound they belong to, hashes and writes them
/// where that is asked for, and leaves a copy for the window.
///
/// Threads:  Process on the engine's picture threads, one after the other; finish() and error() on any.
/// Lock:     a private mutex round the bounds at hand, their hashes and files. Neither the window nor a command holds
/// it
///           for longer than a few instructions.
class PictureTap final : public vexo::IRenderMiddleware {
public:
    struct Config {
        bool hash = false;
        std::string rawStem;                                        ///< empty: nothing is written
        bool stage = false;                                         ///< leave copies in the slot
        std::function<int()> playerId;                              ///< whose picture it is; takes no lock
        std::function<double()> speed;                              ///< takes no lock
        std::function<bool(int playerId, int64_t positionUs)> cut;  ///< true: the picture lies behind the end
        std::function<void()> pass = [] {};                         ///< may hold the picture up, with a bound
        std::function<void(int playerId, int64_t positionUs)> shown = [](int, int64_t) {};  ///< the same behind it
        std::function<void()> wake;  ///< a picture is in the slot; does not wait
    };

    /// Throws std::runtime_error if a hash is asked for and cannot be made.
    PictureTap(Config config, BoundLog &log, PictureSlot &slot);

    bool Process(vexo::RenderOutputInfo &info) override;
    vexo::RenderCat GetRenderCat() override { return vexo::kRenderCatVideo; }

    /// Closes the last bound's hash and file, once no picture can come any more.
    void finish();
    /// The first failure to write a file, or empty.
    std::string error() const;

private:
    struct Output {
        int64_t hashed = 0;
        std::optional<PictureHash> hash;
        std::optional<Y4mWriter> writer;
    };
    void close(int playerId, Output &output);
    void changeBound(int playerId);
    bool lastsBeside(int playerId, int entered) const;

    const Config config_;
    BoundLog &log_;
    PictureSlot &slot_;
    mutable std::mutex mutex_;
    int playerId_ = -1;
    std::map<int, Output> outputs_;  ///< by player id: of the bound at hand, and of the one that it interrupts
    std::string error_;
};

}  // namespace vexoplay
