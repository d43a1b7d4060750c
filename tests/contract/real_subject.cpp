#include "base/oriplayer/module.h"
#include "contract/subject.h"
#include "support/clips.h"

namespace contract {

Subject::Subject() {
    oriplayer::setProperty(oriplayer::kPropertyUntimed, "1");
}

Subject::~Subject() {
    oriplayer::setProperty(oriplayer::kPropertyUntimed, nullptr);
}

std::string Subject::url() const {
    return support::clip("video_only.mp4");
}

void Subject::play() {}

}  // namespace contract
