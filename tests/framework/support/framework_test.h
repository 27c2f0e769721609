#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_FRAMEWORK_TEST_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_FRAMEWORK_TEST_H

#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

/// One line of the log, split at its first seven bars.
struct LogLine {
    std::string time;
    std::string level;
    std::string module;
    std::string requestId;
    std::string function;
    std::string line;
    std::string code;
    std::string text;
};

LogLine SplitLogLine(const std::string& line);

/// A test with a product root, a configuration file and a log of its own.
class FrameworkTest : public testing::Test {
protected:
    /// Settings by section and key.
    using Settings = std::map<std::string, std::map<std::string, std::string>>;

    FrameworkTest();
    ~FrameworkTest() override;

    /// Writes the configuration: `settings`, and the root and the log of this test where they say nothing else. The
    /// log follows at once, because the file is read by the time this returns.
    void Configure(const Settings& settings);

    /// Writes the configuration file as it is.
    void WriteConfig(const std::string& text) const { WriteText(m_configPath, text); }

    std::vector<LogLine> LogLines() const;

    /// The texts of the lines of one level.
    std::vector<std::string> LogTexts(const std::string& level) const;

    std::string InRoot(const std::string& name) const { return m_root.Path() + "/" + name; }
    const std::string& ConfigPath() const { return m_configPath; }
    std::string LogPath() const { return InRoot("log/test.log"); }

private:
    TemporaryFolder m_root;
    const std::string m_configPath;
};

#endif
