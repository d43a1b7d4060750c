#include "player/vexo_url_media_source.h"

#include <locale>
#include <sstream>
#include <utility>

namespace VexoPlayerNS {
namespace {

constexpr char kLiveType[] = "datasource_live_type";
constexpr char kNoNeedSurface[] = "no_need_surface";
constexpr int kSourceKindUrl = 1;
constexpr int kAppend = -1;

/// Converts ints, floats and texts to text, every other type to the empty text.
std::string HeaderText(const nonstd::any &value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());  // the engine reads the numbers, whatever locale the application sets
    if (const auto *integer = nonstd::any_cast<int>(&value)) text << *integer;
    if (const auto *number = nonstd::any_cast<float>(&value)) text << *number;
    if (const auto *string = nonstd::any_cast<std::string>(&value)) text << *string;
    return text.str();
}

}  // namespace

std::shared_ptr<IVexoMediaSource> IVexoMediaSource::create(std::string url) {
    return std::make_shared<VexoURLMediaSource>(std::move(url));
}

std::shared_ptr<IVexoMediaSource> IVexoMediaSource::create(VexoParams params) {
    return std::make_shared<VexoURLMediaSource>(params);
}

// ISource::create needs its full name, because both bases have a `create`.
VexoURLMediaSource::VexoURLMediaSource(std::string url)
    : mUrl(std::move(url)), mEngineSource(oriplayer::ISource::create(mUrl.c_str(), 0.0)) {
    auto headers = std::make_shared<oriplayer::StringMap>();
    headers->add(kLiveType, "1");
    buildPlayList(headers);
}

VexoURLMediaSource::VexoURLMediaSource(const VexoParams &params) : mEngineSource(oriplayer::ISource::create("", 0.0)) {
    auto headers = std::make_shared<oriplayer::StringMap>();
    for (const auto &[key, value] : params) headers->add(key.c_str(), HeaderText(value).c_str());
    // After the application's entries, because of equal keys the engine reads the last one.
    headers->add(kLiveType, "3");
    headers->add(kNoNeedSurface, "1");
    buildPlayList(headers);
}

void VexoURLMediaSource::buildPlayList(const std::shared_ptr<oriplayer::StringMap> &headers) {
    mPeriod = oriplayer::IPeriod::create();
    mPeriod->setSourceKind(kSourceKindUrl);
    mPeriod->setPreloadMask(0);
    mPeriod->setHeaders(headers);
    mPlayList = oriplayer::IPlayList::create();
    mPeriod->addSource(mEngineSource);
    mPlayList->addPeriod(mPeriod, kAppend);
}

VexoURLMediaSource::~VexoURLMediaSource() {
    mPlayList.reset();
    mPeriod.reset();
    mEngineSource.reset();
}

std::shared_ptr<oriplayer::IPlayList> VexoURLMediaSource::getPlayList() {
    return mPlayList;
}

}  // namespace VexoPlayerNS
