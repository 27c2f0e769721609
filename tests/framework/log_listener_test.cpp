#include "framework/public/log_listener.h"

#include "common/framework/log_proxy.h"
#include "tests/framework/support/framework_test.h"

#include <thread>

namespace {

using OpenFramework::LogLine;
using OpenFramework::LogListener;
using testing::ElementsAre;
using testing::IsEmpty;

void Log(int level, const std::string& text)
{
    LogProxy(level, "Test", 0, "Log", __LINE__) << 7 << text;
}

std::vector<std::string> Texts(LogListener& listener)
{
    std::vector<std::string> texts;
    for (const LogLine& line : listener.Take()) {
        texts.push_back(line.text);
    }
    return texts;
}

class LogListenerTest : public FrameworkTest {};

TEST_F(LogListenerTest, HearsWhatItsThreadLogsWhateverTheFileTakes)
{
    for (const char* const file : {"", "log/here.log", "/proc/no/such.log"}) {
        Configure({{"Log", {{"Level", "4"}, {"File", file}}}});
        LogListener listener(2);
        Log(1, "progress");
        Log(2, "notice");
        Log(4, "two\nlines");
        EXPECT_THAT(Texts(listener), ElementsAre("notice", "two\nlines")) << file;
        EXPECT_THAT(Texts(listener), IsEmpty()) << "they were taken";
    }
}

TEST_F(LogListenerTest, LineHasItsParts)
{
    LogListener listener(0);
    Log(3, "text");
    const std::vector<LogLine> lines = listener.Take();
    ASSERT_EQ(1U, lines.size());
    EXPECT_EQ(3, lines[0].level);
    EXPECT_EQ("Log", lines[0].operation);
    EXPECT_EQ(7, lines[0].code);
    EXPECT_GT(lines[0].time, 1700000000000000);
}

TEST_F(LogListenerTest, HearsNoOtherThreadAndNothingBehindItsEnd)
{
    auto listener = std::make_unique<LogListener>(0);
    std::thread([] { Log(4, "elsewhere"); }).join();
    EXPECT_THAT(Texts(*listener), IsEmpty());
    listener.reset();
    Log(4, "to nobody");
    LogListener next(0);
    EXPECT_THAT(Texts(next), IsEmpty());
}

TEST_F(LogListenerTest, OldestAreLostWhenThereAreTooMany)
{
    LogListener listener(0, 3);
    for (int i = 0; i < 5; ++i) {
        Log(4, std::to_string(i));
    }
    EXPECT_THAT(Texts(listener), ElementsAre("2", "3", "4"));
}

TEST_F(LogListenerTest, MayBeTakenFromAnotherThread)
{
    LogListener listener(0);
    std::vector<std::string> heard;
    std::thread other([&] {
        while (heard.size() < 1000) {
            for (std::string& text : Texts(listener)) {
                heard.push_back(std::move(text));
            }
        }
    });
    for (int i = 0; i < 1000; ++i) {
        Log(1, std::to_string(i));
    }
    other.join();
    EXPECT_EQ("999", heard.back());
}

} // namespace
