#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// What zavctl tells of the configuration, and of what that names.
class ZavctlConfigTest : public Stage {
protected:
    Base::ProgramResult Check() const { return RunZavctl({"config", "check"}); }

    Base::ProgramResult CheckWith(const std::string& variable) const
    {
        return RunToEnd({ProductPath("bin/zavctl"), "config", "check"}, {"PRODUCT_STORAGE_CONFIG=" + variable});
    }

    std::string ConfigurationPath() const { return Directory() + "/backupnode.ini"; }
    std::string KeyPath() const { return Directory() + "/product.key"; }
};

TEST_F(ZavctlConfigTest, NodeThatIsSetUpIsSound)
{
    StartArray();        // brings certificates that are trusted
    EncryptedPassword(); // with the node's key, which is there from now on
    const Base::ProgramResult outcome = Check();
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("zavctl: configuration " + ConfigurationPath() + " is sound\n", outcome.errors);
    EXPECT_THAT(outcome.output, StartsWith("SECTION "));
}

TEST_F(ZavctlConfigTest, FileThatTheVariableNamesHasToBeThere)
{
    const std::string path = Directory() + "/nowhere.ini";
    const Base::ProgramResult outcome = CheckWith(path);
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("zavctl: " + path +
                                                ", which PRODUCT_STORAGE_CONFIG names, does not "
                                                "exist\n"),
                                      HasSubstr("zavctl: configuration " + path + ", which PRODUCT_STORAGE_CONFIG")));
    EXPECT_EQ("", outcome.output);
}

TEST_F(ZavctlConfigTest, StandardFileNeedNotBeThere)
{
    const Base::ProgramResult outcome = CheckWith("");
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: warning: " + ProductPath("conf/backupnode.ini") +
                                          " does not exist: defaults hold\n"));
}

TEST_F(ZavctlConfigTest, FileOfCertificatesHasToHoldOne)
{
    const std::string path = Directory() + "/ca.pem";
    const auto expectProblem = [&](const std::string& why) {
        const Base::ProgramResult outcome = Check();
        EXPECT_EQ(7, outcome.status) << why;
        EXPECT_THAT(outcome.errors,
                    HasSubstr("zavctl: " + ConfigurationPath() + ": [Http] CaFile names " + path + ": " + why + "\n"));
        EXPECT_THAT(outcome.errors,
                    HasSubstr("zavctl: configuration " + ConfigurationPath() + ": [Http] CaFile names "))
            << why;
    };
    Configure({{"Http.CaFile", path}});
    expectProblem("No such file or directory");
    WriteText(path, "");
    expectProblem("it holds no certificate");
    WriteText(path, "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
    expectProblem("it holds no certificate");
    boost::filesystem::remove(path);
    boost::filesystem::create_directory(path);
    expectProblem("it is no regular file");
    boost::filesystem::remove(path);
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    expectProblem("it is no regular file");
}

TEST_F(ZavctlConfigTest, KeyThatCannotBeUsedIsAProblemAndNoneIsAWarning)
{
    const Base::ProgramResult missing = Check();
    EXPECT_EQ(0, missing.status);
    EXPECT_THAT(missing.errors, HasSubstr("zavctl: warning: there is no key in " + KeyPath() +
                                          " yet; zavctl password encrypt --new-key makes one\n"));
    EXPECT_EQ("", ReadText(KeyPath())) << "looking makes none";

    EncryptedPassword();
    chmod(KeyPath().c_str(), 0644);
    const Base::ProgramResult outcome = Check();
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: The key file " + KeyPath() +
                                          " is refused: others than its owner may use it: its mode must be 0600\n"));
}

TEST_F(ZavctlConfigTest, FoldersOfCommandsHaveToBeThere)
{
    WriteText(Directory() + "/file", "");
    Configure({{"Shell.Path", Directory() + "/node/bin:" + Directory() + "/gone:" + Directory() + "/file"}});
    const Base::ProgramResult outcome = Check();
    EXPECT_EQ(7, outcome.status);
    const std::string begin = "zavctl: " + ConfigurationPath() + ": [Shell] Path names " + Directory();
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr(begin + "/gone: No such file or directory\n"),
                                      HasSubstr(begin + "/file: Not a directory\n"), Not(HasSubstr("/node/bin: "))));
}

TEST_F(ZavctlConfigTest, CertificateChecksThatAreOffAreWarnedOf)
{
    for (const char* const off : {"false", "no", "off", "0"}) {
        Configure({{"Http.VerifyPeer", off}});
        const Base::ProgramResult outcome = Check();
        EXPECT_EQ(0, outcome.status);
        EXPECT_THAT(outcome.errors, HasSubstr("zavctl: warning: " + ConfigurationPath() +
                                              ": [Http] VerifyPeer is off: anybody on the way"));
    }
    Configure({{"Http.VerifyPeer", "yes"}});
    EXPECT_THAT(Check().errors, Not(HasSubstr("VerifyPeer")));
}

TEST_F(ZavctlConfigTest, WhatIsMalformedAndWhatIsNamedIsToldAtOnceAndOnce)
{
    EncryptedPassword();
    chmod(KeyPath().c_str(), 0640);
    Configure({{"Log.Level", "loud"}, {"Shell.Path", Directory() + "/gone"}});
    const Base::ProgramResult outcome = Check();
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("[Log] Level"), HasSubstr("is refused"), HasSubstr("/gone: "),
                                      HasSubstr(", the first of 3 that stand above\n")));
}

TEST_F(ZavctlConfigTest, OtherCommandsEndAtWhatIsMalformedAlone)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    Configure({{"Shell.Path", Directory() + "/gone"}, {"Http.VerifyPeer", "false"}});
    const Base::ProgramResult outcome = RunZavctl({"inventory", "--env", env});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.errors, Not(HasSubstr("warning")));
}

} // namespace
