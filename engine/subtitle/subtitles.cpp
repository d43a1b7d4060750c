#include "subtitle/subtitles.h"

#include <chrono>
#include <exception>
#include <utility>

#include "subtitle/subtitle_module.h"

namespace oriplayer {
namespace {

// Reading a file takes some 50 ms; more than this is a disk that does not answer.
constexpr std::chrono::seconds kReadingTime{10};

PictureShape shapeOf(const AVFrame &picture) {
    const AVRational aspect = picture.sample_aspect_ratio;
    const bool known = aspect.num > 0 && aspect.den > 0;
    const bool full = picture.color_range == AVCOL_RANGE_JPEG || picture.format == AV_PIX_FMT_YUVJ420P;
    return {picture.width, picture.height, known ? aspect.num : 1, known ? aspect.den : 1, full};
}

int64_t millisecondOf(int64_t us) {
    return us >= 0 ? us / 1000 : -((999 - us) / 1000);
}

}  // namespace

// What was ready for files that are no longer chosen comes back: it dies behind the lock.
template <typename Change> std::shared_ptr<const Subtitles::Drawers> Subtitles::change(Change change) {
    std::shared_ptr<const Drawers> old;
    {
        const std::lock_guard lock(mutex_);
        if (!change(choice_)) return old;
        ++wanted_;
        chosen_ = !choice_.files.empty();
        if (choice_.files != ready_.choice.files) old = std::exchange(ready_, Ready()).drawers;
    }
    changed_.notify_all();
    return old;
}

bool Subtitles::choose(std::vector<SubtitleFile> files) {
    change([&files](Choice &choice) {
        if (choice.files == files) return false;
        choice.files = std::move(files);
        return true;
    });
    const std::lock_guard lock(mutex_);
    return chosen_ && !stopped_ && !std::exchange(launched_, true);
}

void Subtitles::setLook(SubtitleLook look) {
    change([&look](Choice &choice) {
        if (choice.look == look) return false;
        choice.look = std::move(look);
        return true;
    });
}

void Subtitles::expectSize(int width, int height) {
    change([width, height](Choice &choice) {
        if (choice.shape.width == width && choice.shape.height == height) return false;
        choice.shape.width = width;
        choice.shape.height = height;
        return true;
    });
}

void Subtitles::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    changed_.notify_all();
}

void Subtitles::run() {
    while (auto choice = awaitChoice()) {
        Ready ready{std::move(*choice), nullptr};
        ready.drawers = read(ready.choice);
        publish(std::move(ready));
    }
}

std::optional<Subtitles::Choice> Subtitles::awaitChoice() {
    std::unique_lock lock(mutex_);
    changed_.wait(
        lock, [this] { return stopped_ || (taken_ != wanted_ && !choice_.files.empty() && choice_.shape.width > 0); });
    if (stopped_) return std::nullopt;
    taken_ = wanted_;
    reading_ = true;
    return choice_;
}

std::shared_ptr<const Subtitles::Drawers> Subtitles::read(const Choice &choice) {
    Drawers drawers;
    for (const SubtitleFile &file : choice.files) {
        MediaError error;
        if (const OpenSubtitles open = subtitleModule(error)) {
            drawers.emplace_back(open(file, choice.look, choice.shape, error));
        }
        if (error) fail(file.path, error);
    }
    std::erase(drawers, nullptr);
    return std::make_shared<const Drawers>(std::move(drawers));
}

void Subtitles::publish(Ready ready) {
    {
        const std::lock_guard lock(mutex_);
        reading_ = false;
        if (ready.choice.files == choice_.files) std::swap(ready_, ready);
    }
    changed_.notify_all();
}

// A new look goes on with the old one until it is ready; another shape cannot.
std::shared_ptr<const Subtitles::Drawers> Subtitles::drawersFor(const PictureShape &shape, Patience patience) {
    change([&shape](Choice &choice) {
        if (choice.shape == shape) return false;
        choice.shape = shape;
        return true;
    });
    std::unique_lock lock(mutex_);
    if (patience == Patience::kUntilRead) {
        changed_.wait_for(lock, kReadingTime, [this] { return stopped_ || complete() || choice_.files.empty(); });
    }
    const bool fits = ready_.choice.shape == shape && ready_.choice.files == choice_.files;
    return fits ? ready_.drawers : nullptr;
}

FramePtr Subtitles::draw(const AVFrame &picture, int64_t positionUs, Patience patience) {
    if (!chosen_) return nullptr;
    const auto drawers = drawersFor(shapeOf(picture), patience);
    if (!drawers) return nullptr;
    const int64_t position = millisecondOf(positionUs) - delayMs_;
    FramePtr drawn;
    for (const auto &drawer : *drawers) {
        if (!drawer->visibleAt(position)) continue;
        FramePtr next = drawn ? std::move(drawn) : FramePtr(av_frame_clone(&picture));
        MediaError error{AVERROR(ENOMEM), "no memory for a picture"};
        if (next) drawn = drawer->draw(std::move(next), position, error);
        if (!drawn) {
            fail("drawing", error);
            change([](Choice &choice) {
                choice.files.clear();
                return true;
            });
            return nullptr;
        }
    }
    return drawn;
}

void Subtitles::fail(const std::string &path, const MediaError &error) {
    ++failures_;
    tell_("subtitles \"" + path + "\": " + error.text);
}

}  // namespace oriplayer
