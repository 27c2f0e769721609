#include "framework/public/san_journal.h"

#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

namespace {

using OpenFramework::JournalEntry;
using OpenFramework::SanJournal;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SanJournalTest : public testing::Test {
protected:
    std::vector<std::string> Standing(const std::string& device = "array") const
    {
        std::vector<std::string> texts;
        for (const JournalEntry& entry : m_journal.Standing(device)) {
            texts.push_back(entry.kind + " " + entry.name + " " + entry.id);
        }
        return texts;
    }

    static JournalEntry Host(const std::string& name, const std::string& id = "")
    {
        return {"array", "host", name, id};
    }

    TemporaryFolder m_folder;
    const SanJournal m_journal{m_folder.File("san-journal")};
};

TEST_F(SanJournalTest, TellsWhatWasMadeAndWhatMayHaveBeen)
{
    EXPECT_THAT(Standing(), IsEmpty());
    EXPECT_NE(0, ::access(m_folder.File("san-journal.lock").c_str(), F_OK)) << "looking leaves nothing behind";
    m_journal.Intend(Host("a"));
    m_journal.Intend(Host("b"));
    m_journal.Made(Host("a", "1"));
    m_journal.Intend({"other", "host", "a", ""});
    EXPECT_THAT(Standing(), ElementsAre("host b ", "host a 1"));
    EXPECT_THAT(Standing("other"), ElementsAre("host a "));
    m_journal.Drop(Host("b"));
    EXPECT_THAT(Standing(), ElementsAre("host a 1"));
    m_journal.Drop(Host("a", "2"));
    EXPECT_THAT(Standing(), ElementsAre("host a 1")) << "another object of that name";
    m_journal.Drop(Host("a", "1"));
    EXPECT_THAT(Standing(), IsEmpty());
}

TEST_F(SanJournalTest, FileIsTheOwnersAloneAndEachLineIsJson)
{
    m_journal.Intend(Host("a \"quoted\"\n"));
    struct stat status = {};
    ASSERT_EQ(0, ::stat(m_journal.Path().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    EXPECT_THAT(
        m_folder.Read("san-journal"),
        HasSubstr(R"({"device":"array","id":"","kind":"host","name":"a \"quoted\"\n","state":"intended","time":"20)"));
    EXPECT_THAT(Standing(), ElementsAre("host a \"quoted\"\n "));
}

TEST_F(SanJournalTest, LineThatACrashCutIsPassedOver)
{
    m_journal.Made(Host("a", "1"));
    const std::string whole = m_folder.Read("san-journal");
    for (std::size_t size = 0; size < whole.size() - 1; ++size) {
        m_folder.Write("san-journal", whole + whole.substr(0, size));
        m_journal.Made(Host("b", "2"));
        EXPECT_THAT(Standing(), ElementsAre("host a 1", "host b 2")) << size;
    }
}

TEST_F(SanJournalTest, LongFileLosesWhatIsGone)
{
    m_journal.Made(Host("kept", "0"));
    m_journal.Intend(Host("intended"));
    std::string line;
    for (int i = 1; i < 3; ++i) {
        m_journal.Made(Host("n", std::to_string(i)));
        m_journal.Drop(Host("n", std::to_string(i)));
    }
    const std::string text = m_folder.Read("san-journal");
    std::string longer = text;
    while (longer.size() < 70000) {
        longer += text.substr(text.size() / 3 * 2);
    }
    m_folder.Write("san-journal", longer);
    m_journal.Made(Host("last", "9"));
    m_journal.Drop(Host("n"));
    EXPECT_LT(m_folder.Read("san-journal").size(), 1000U);
    EXPECT_THAT(Standing(), ElementsAre("host kept 0", "host intended ", "host last 9"));
}

TEST_F(SanJournalTest, ThreadsAndProcessesDoNotMixTheirLines)
{
    constexpr int LINES = 25;
    const auto write = [this](const std::string& prefix) {
        for (int i = 0; i < LINES; ++i) {
            SanJournal(m_journal.Path()).Made(Host(prefix + std::to_string(i), "1"));
        }
    };
    std::thread one(write, "a");
    std::thread other(write, "b");
    one.join();
    other.join();
    EXPECT_EQ(2U * LINES, Standing().size());
}

TEST_F(SanJournalTest, WhatCannotBeWrittenIsNamed)
{
    const auto complaint = [](const std::string& path) -> std::string {
        try {
            SanJournal(path).Intend(Host("a"));
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    const std::string missing = m_folder.File("none/san-journal");
    EXPECT_EQ("cannot open the lock file " + missing + ".lock: No such file or directory", complaint(missing));
    const std::string folder = m_folder.File("folder");
    ::mkdir(folder.c_str(), 0700);
    EXPECT_EQ("cannot open " + folder + ": Is a directory", complaint(folder));
    const std::string pipe = m_folder.File("pipe");
    ::mkfifo(pipe.c_str(), 0600);
    EXPECT_EQ("cannot write " + pipe + ": it is no regular file", complaint(pipe));
}

} // namespace
