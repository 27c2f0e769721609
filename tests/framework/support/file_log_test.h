#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_FILE_LOG_TEST_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_FILE_LOG_TEST_H

#include "common/framework/log_proxy.h"
#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/probe.h"

#include <sstream>
#include <string>
#include <vector>

/// A test of where the lines of the log go.
class FileLogTest : public FrameworkTest {
protected:
    static void Log(int level, const std::string& text) { LogProxy(level, "Test", 0, "Log", __LINE__) << 0 << text; }

    std::vector<std::string> Texts(const std::string& file) const
    {
        std::vector<std::string> texts;
        std::istringstream lines(ReadText(file));
        for (std::string line; std::getline(lines, line);) {
            texts.push_back(SplitLogLine(line).text);
        }
        return texts;
    }

    static std::vector<std::string> ProbeWords(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> words = {ProbePath()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return words;
    }

    static Base::ProgramResult Probe(const std::vector<std::string>& arguments,
                                     const std::vector<std::string>& variables = {})
    {
        return RunToEnd(ProbeWords(arguments), variables);
    }
};

#endif
