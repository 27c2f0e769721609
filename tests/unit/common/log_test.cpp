#include "common/log.h"

#include "tests/fakes/fakes.h"

#include <stdexcept>
#include <string>

using ::testing::ElementsAre;

namespace {

const std::string LOG_MODULE = "TheModule";

/// Operations that log, as the library's do.
class Operations {
public:
    static void Say(int level) { PS_LOG(level) << "number " << 5 << " of " << std::string("seven"); }
    static void SayNumber() { PS_LOG(1) << 42; }
    static void SayNothing() { PS_LOG(2); }
    static void SayForAnother() { PS_LOG_AS("Another", 3) << "for it"; }

    static void Work()
    {
        PS_TRACE();
        PS_LOG(2) << "working";
    }

    static void WorkInOtherWords()
    {
        PS_TRACE_WORDS("begin work.", "work finish.");
        PS_LOG(2) << "working";
    }

    static void WorkWithOwnEntry() { PS_TRACE_WORDS("begin work.", {}); }

    [[noreturn]] static void Break()
    {
        PS_TRACE();
        throw std::runtime_error("broken");
    }
};

class LogTest : public FakesTest {
protected:
    ~LogTest() override { TSP_RequestID.set(0); }
};

class LogLevelTest : public LogTest, public ::testing::WithParamInterface<int> {};

TEST_P(LogLevelTest, LineHasLevelModuleOperationRequestIdCodeAndText)
{
    TSP_RequestID.set(77);
    Operations::Say(GetParam());
    ASSERT_THAT(m_log.Lines(), ElementsAre(IsLineOf("Say", GetParam(), "number 5 of seven")));
    const LogLine line = m_log.Lines().front();
    EXPECT_EQ("TheModule", line.module);
    EXPECT_EQ(77U, line.requestId);
    EXPECT_EQ(0, line.code);
    EXPECT_GT(line.line, 0);
}

INSTANTIATE_TEST_SUITE_P(Level, LogLevelTest, ::testing::Range(0, 5));

TEST_F(LogTest, NumberAfterTheCodeIsText)
{
    Operations::SayNumber();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("SayNumber", 1, "42")));
}

TEST_F(LogTest, LineWithoutTextHasItsCode)
{
    Operations::SayNothing();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("SayNothing", 2, "")));
}

TEST_F(LogTest, HelperLogsUnderTheOperationThatItSpeaksFor)
{
    Operations::SayForAnother();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("Another", 3, "for it")));
}

TEST_F(LogTest, RequestIdIsThatOfTheMomentAndOfTheThread)
{
    TSP_RequestID.set(1);
    Operations::SayNumber();
    TSP_RequestID.set(2);
    Operations::SayNumber();
    EXPECT_EQ(1U, m_log.Lines().at(0).requestId);
    EXPECT_EQ(2U, m_log.Lines().at(1).requestId);
}

TEST_F(LogTest, TraceMarksEntryAndExitAroundTheOperation)
{
    TSP_RequestID.set(77);
    Operations::Work();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("Work", 1, "Enter Work"), IsLineOf("Work", 2, "working"),
                                           IsLineOf("Work", 1, "End Work")));
    for (const LogLine& line : m_log.Lines()) {
        EXPECT_EQ("TheModule", line.module);
        EXPECT_EQ(77U, line.requestId);
    }
}

TEST_F(LogTest, TraceInOtherWordsSaysTheseInstead)
{
    Operations::WorkInOtherWords();
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(IsLineOf("WorkInOtherWords", 1, "begin work."), IsLineOf("WorkInOtherWords", 2, "working"),
                            IsLineOf("WorkInOtherWords", 1, "work finish.")));
}

TEST_F(LogTest, TraceWithoutWordsForOneEndUsesTheOperationsNameThere)
{
    Operations::WorkWithOwnEntry();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLine(1, "begin work."), IsLine(1, "End WorkWithOwnEntry")));
}

TEST_F(LogTest, TraceMarksTheExitOfAnOperationThatThrows)
{
    EXPECT_THROW(Operations::Break(), std::runtime_error);
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLine(1, "Enter Break"), IsLine(1, "End Break")));
}

} // namespace
