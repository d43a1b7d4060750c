#include "player/ori_player_listener_impl.h"

#include <utility>

#include "base/log.h"

namespace VexoPlayerNS {

IOriPlayerListenerImpl::IOriPlayerListenerImpl(IVexoPlayerCallback *callback) : mCallback(callback) {}

void IOriPlayerListenerImpl::notify(long long id, int msg, int ext1, int ext2, const oriplayer::Param &param) {
    const int sid = static_cast<int>(id);
    VEXO_SINK("notify id:[%d] msg:[%d] ext1:[%d] ext2:[%d]\n", sid, msg, ext1, ext2);
    if (!mCallback) return;
    VexoParams params;
    params.emplace("1", param);
    mCallback->onPlayEvent(sid, msg, "notify_win_ios_android", std::move(params));
}

void IOriPlayerListenerImpl::notify(int msg, int ext1, int ext2, const std::string &str, const std::string &ovustr) {
    VEXO_SINK("notify msg:[%d] ext1:[%d] ext2:[%d] str:[%s] ovustr:[%s]\n", msg, ext1, ext2, str.c_str(),
              ovustr.c_str());
    if (!mCallback) return;
    VexoParams params;
    params.emplace("1", str);
    params.emplace("2", ovustr);
    mCallback->onPlayEvent(0, msg, "notify_win", std::move(params));
}

}  // namespace VexoPlayerNS
