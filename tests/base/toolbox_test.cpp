#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "base/cpu_stat.h"
#include "base/map_text.h"
#include "base/media_url.h"
#include "base/text.h"

namespace vexo {
namespace {

TEST(MediaUrl, GivesTagAndId) {
    struct UrlCase {
        const char *url;
        int tagResult;
        const char *tag;
        int idResult;
        const char *id;
    };
    for (const UrlCase &c :
         {UrlCase{"", -1, "kept", -1, "kept"}, UrlCase{"http://h/v?vid=abc==&x=1", 0, "abc", 0, "abc=="},
          UrlCase{"http://h/v?vid=abc==&x=1&streamtypecode=mp4", 0, "abc-mp4", 0, "abc=="},
          UrlCase{"http://h/v?x=1&streamtypecode=flv&y", 0, "NOVID-flv", -1, "kept"},
          UrlCase{"vid=abc==", 0, "abc==", 0, "abc=="}, UrlCase{"vid=a&streamtypecode=", 0, "-", 0, "a"},
          UrlCase{"vid=&b", 0, "", 0, ""}}) {
        SCOPED_TRACE(c.url);
        std::string tag = "kept";
        std::string id = "kept";
        EXPECT_EQ(ParseVideoTag(c.url, tag), c.tagResult);
        EXPECT_EQ(tag, c.tag);
        EXPECT_EQ(ParseVideoId(c.url, id), c.idResult);
        EXPECT_EQ(id, c.id);
    }
}

TEST(CpuStat, CountsProcessorsAndReadsTheAggregateLine) {
    const auto read = [](const char *text, CpuStatInfo &info) {
        std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::tmpfile(), &std::fclose);
        std::fputs(text, file.get());
        std::rewind(file.get());
        return ReadCpuInfo(file.get(), &info);
    };
    CpuStatInfo info{};
    EXPECT_EQ(read("cpu  1 2 3 4 5 6 7 8\r\ncpu0 1 1 1\ncpu1 1 1 1\nintr 9\n", info), 0);
    EXPECT_EQ(info.user, 1);
    EXPECT_EQ(info.softirq, 7);
    EXPECT_EQ(info.cpu_count, 2);
    EXPECT_EQ(read("cpu0 1 1 1\n", info), -1);
    EXPECT_EQ(getCpuInfo(&info), 0);
    EXPECT_GT(info.cpu_count, 0);
    EXPECT_EQ(getCpuInfo(nullptr), -1);
}

}  // namespace
}  // namespace vexo
