#include "tests/framework/support/probe.h"

#include <boost/algorithm/string/erase.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(FrameworkLibraryTest, ExportsWhatItsHeadersDeclareAndNothingElse)
{
    const Base::ProgramResult symbols = RunToEnd({"/usr/bin/nm", "-DC", "--defined-only", FRAMEWORK_LIBRARY});
    ASSERT_EQ(0, symbols.status) << symbols.errors;
    std::set<std::string> names;
    std::istringstream lines(symbols.output);
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(line.find(' ', line.find(' ') + 1) + 1);
        names.insert(boost::erase_all_copy(name.substr(0, name.find('(')), "[abi:cxx11]"));
    }
    EXPECT_THAT(names,
                ElementsAre("CDeviceManager::getInstance", "CDeviceManager::releaseInstance", "Cert::ResumeAlertForEnv",
                            "Cert::VerifyCertForEnv", "ConfigReader::check", "ConfigReader::getFile",
                            "ConfigReader::getInt", "ConfigReader::getNerovaxDiskArrayNotRetryErrorCode",
                            "GetFunctionName", "GetVendrixRootPath", "LogProxy::LogProxy", "LogProxy::Text",
                            "LogProxy::operator<<", "LogProxy::~LogProxy", "OpenFramework::EndRunningCommands",
                            "OpenFramework::LogListener::LogListener", "OpenFramework::LogListener::Take",
                            "OpenFramework::LogListener::~LogListener", "OpenFramework::LookAtNodeKey",
                            "OpenFramework::RunningPrograms", "OpenFramework::SanJournal::Drop",
                            "OpenFramework::SanJournal::Intend", "OpenFramework::SanJournal::Made",
                            "OpenFramework::SanJournal::RequireWritable", "OpenFramework::SanJournal::StandardPath",
                            "OpenFramework::SanJournal::Standing", "QEN::IHttpClient::CreateClient", "QENTSP::get",
                            "QENTSP::set", "SecuritySS::ZelkDecryptInfo", "SecuritySS::ZelkEncryptInfo",
                            "TSP_RequestID", "getRandBytes", "runShellCmdWithOutput"));
}

TEST(FrameworkLibraryTest, BearsItsVersionAndStaysLoaded)
{
    const Base::ProgramResult dynamic = RunToEnd({"/usr/bin/readelf", "-d", FRAMEWORK_LIBRARY});
    EXPECT_THAT(dynamic.output, HasSubstr("soname: [libProductFramework.so.1]"));
    EXPECT_THAT(dynamic.output, HasSubstr("NODELETE"));
}

} // namespace
