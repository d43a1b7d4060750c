#include "contract/subject.h"
#include "fake/scripted_engine.h"

namespace contract {

using fake::ScriptedEngine;

Subject::Subject() {
    ScriptedEngine::instance().reset();
    ScriptedEngine::instance().autoPrepare = true;
}

Subject::~Subject() {
    ScriptedEngine::instance().reset();
}

std::string Subject::url() const {
    return "clip.mp4";
}

void Subject::play() {
    ScriptedEngine &engine = ScriptedEngine::instance();
    for (int event : {1017, 1001}) engine.postLater("p" + std::to_string(engine.created()), event);
}

}  // namespace contract
