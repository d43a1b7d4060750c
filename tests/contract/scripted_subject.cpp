#include "contract/subject.h"
#include "fake/scripted_engine.h"

namespace contract {

namespace {

fake::ScriptedEngine &engine() {
    return fake::ScriptedEngine::instance();
}

}  // namespace

Subject::Subject() {
    engine().reset();
    engine().autoPrepare = true;
}

Subject::~Subject() {
    engine().reset();
}

std::string Subject::url() const {
    return "clip.mp4";
}

std::shared_ptr<oriplayer::IOriPlayer> Subject::create() {
    return oriplayer::IOriPlayer::create();
}

void Subject::play() {
    const std::string last = "p" + std::to_string(engine().created());
    engine().postLater(last, 1017);
    engine().postLater(last, 1001);
}

}  // namespace contract
