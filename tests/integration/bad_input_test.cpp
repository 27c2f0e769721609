#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// Whatever is wrong around zavctl: a clear text that names what and where, a status that is not 0, and nothing lost.
class BadInputTest : public Stage {
protected:
    Base::ProgramResult Init(const Array& array) const
    {
        return RunZavctl({"init", "--env", EnvironmentFileOf(array)});
    }
};

TEST_F(BadInputTest, EnvironmentFileThatIsADirectoryIsNamed)
{
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", Directory()});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: environment " + Directory() + ": Is a directory\n"));
}

TEST_F(BadInputTest, EnvironmentFileThatIsNoSuchMessageIsNamedWithThePlace)
{
    const std::string path = Directory() + "/env.json";
    WriteText(path, R"({"managementIps": ["10.0.0.1"], "userNames": )");
    Base::ProgramResult outcome = RunZavctl({"init", "--env", path});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: environment " + path +
                                          ": line 1, column 46: Syntax error: value, object or array expected."));

    WriteText(path, R"({"managementIp": ["10.0.0.1"]})");
    outcome = RunZavctl({"init", "--env", path});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("managementIp: Cannot find field"));
}

TEST_F(BadInputTest, NumberWithoutAnEndIsNamedByItsPlaceAndItsBeginning)
{
    const std::string path = Directory() + "/env.json";
    WriteText(path, "{\"ports\": [" + std::string(200000, '1') + "]}");
    for (const Process::Arguments& command :
         {Process::Arguments{"env", "check", path}, Process::Arguments{"init", "--env", path, "-o", "json"}}) {
        const Base::ProgramResult outcome = RunZavctl(command);
        EXPECT_EQ(7, outcome.status);
        EXPECT_THAT(outcome.errors, HasSubstr(path + ": line 1, column 12: '1111"));
        EXPECT_THAT(outcome.errors, HasSubstr("1111...\n"));
    }
}

TEST_F(BadInputTest, WordsOfTheArrayMayBeOfAnyLength)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    for (const std::string& place : {std::string("https://"), std::string("/")}) {
        array.AddFault(R"({"kind": "code", "code": 42, "description": "see )" + place + std::string(200000, 'a') +
                       R"(", "target": "sessions", "count": 1})");
        const Base::ProgramResult outcome = RunZavctl({"inventory", "--env", env, "-o", "json"});
        EXPECT_EQ(6, outcome.status) << place;
        EXPECT_EQ("42", ParseJsonText(outcome.output)["error"]["code"].asString());
    }
}

TEST_F(BadInputTest, CauseIsToldWithoutALogFileAsWell)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "sessions", "count": 0})");
    for (const std::string& file : {std::string(), std::string("/proc/no/such.log")}) {
        Configure({{"Log.File", file}});
        EXPECT_THAT(RunZavctl({"inventory", "--env", env}).errors,
                    HasSubstr("cannot log into the array at " + array.Options().managementIps[0] + ": no way (42)\n"))
            << file;
    }
}

TEST_F(BadInputTest, PasswordThatWasNotEncryptedHereIsNotSentAnywhere)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    std::string text = ReadText(env);
    const std::size_t cipher = text.find("\"encryptedPasswords\": [\"") + 24;
    text[cipher + 10] = text[cipher + 10] == 'A' ? 'B' : 'A';
    WriteText(env, text);
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", env});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("the encrypted password of user admin cannot be decrypted: The text is no "
                                          "credential that this product stored\nzavctl: remedy: "));
    EXPECT_THAT(array.Requests(), IsEmpty());
}

TEST_F(BadInputTest, AnswerThatIsCutOffOrNoJsonOrNeverComesIsTold)
{
    const Array& array = StartArray();
    array.AddFault(R"({"kind": "garbage", "target": "sessions"})");
    Base::ProgramResult outcome = Init(array);
    EXPECT_EQ(9, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("Parse json string failed"));

    array.AddFault(R"({"kind": "cut", "target": "sessions"})");
    outcome = Init(array);
    EXPECT_EQ(8, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("(libcurl 18)"));

    array.AddFault(R"({"kind": "silent", "milliseconds": 500, "target": "sessions"})");
    outcome = Init(array);
    EXPECT_EQ(8, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("(libcurl 52)"));
}

TEST_F(BadInputTest, DeviceInformationFileThatIsCorruptedIsLeftAloneAndNothingIsMade)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string content = R"({"half a record": {"HOSTID": "12", )";
    WriteText(ZavctlRecordPath(array), content);
    for (const char* const command : {"init", "cleanup"}) {
        const Base::ProgramResult outcome = RunZavctl({command, "--env", EnvironmentFileOf(array)});
        EXPECT_EQ(7, outcome.status);
        EXPECT_THAT(outcome.errors,
                    HasSubstr(ZavctlRecordPath(array) + ": not a device record in JSON; nothing was changed"));
        EXPECT_EQ(content, ReadText(ZavctlRecordPath(array)));
    }
    EXPECT_THAT(array.Ids("hostgroup"), IsEmpty());
}

TEST_F(BadInputTest, DeviceInformationFileThatCannotBeWrittenIsToldBeforeAnythingIsMade)
{
    const Array& array = StartArray();
    const std::string path = ZavctlRecordPath(array);
    const auto expectRefusal = [&](const std::string& why) {
        const Base::ProgramResult outcome = Init(array);
        EXPECT_EQ(7, outcome.status);
        EXPECT_THAT(outcome.errors, HasSubstr(path + ": " + why));
        EXPECT_THAT(array.Ids("hostgroup"), IsEmpty());
    };
    boost::filesystem::create_directory(path);
    expectRefusal("cannot be a device record: it is no regular file; nothing was changed");
    boost::filesystem::remove(path);
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    expectRefusal("cannot be a device record: it is no regular file; nothing was changed");
    boost::filesystem::remove(path);
    WriteText(path, std::string(1048577, ' '));
    expectRefusal("cannot be a device record: it has 1048577 bytes, a record less than 1048576; nothing was changed");
    EXPECT_EQ(1048577, boost::filesystem::file_size(path));
    boost::filesystem::remove(path);
    boost::filesystem::create_symlink("self-info.conf", ProductPath("conf/self-info.conf"));
    boost::filesystem::create_symlink("self-info.conf", path);
    expectRefusal("cannot be read: Too many levels of symbolic links");
}

TEST_F(BadInputTest, DeviceIdThatCannotNameAFileIsToldByEveryCommand)
{
    ArrayOptions options;
    options.serial = std::string(201, 'n');
    const Array& array = StartArray(options);
    for (const char* const command : {"init", "cleanup", "tidy"}) {
        const Base::ProgramResult outcome = RunZavctl({command, "--env", EnvironmentFileOf(array)});
        EXPECT_EQ(9, outcome.status) << command;
        EXPECT_THAT(outcome.errors,
                    HasSubstr("has the device id \"" + options.serial + "\", which cannot name this node's record"));
    }
    EXPECT_THAT(array.Ids("hostgroup"), IsEmpty());
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(BadInputTest, TwoArraysWithOneDeviceIdAreNamedAndPrepared)
{
    ArrayOptions options;
    options.serial = "210twins";
    const Array& one = StartArray(options);
    const std::string envOfOne = EnvironmentFileOf(one) + ".one";
    boost::filesystem::rename(EnvironmentFileOf(one), envOfOne);
    const Array& other = StartArray(options);
    StartTargets({one.Options().serviceIps.at(0), other.Options().serviceIps.at(0)});
    const Base::ProgramResult twins = RunZavctl({"init", "--env", envOfOne, "--env", EnvironmentFileOf(other)});
    EXPECT_EQ(0, twins.status);
    EXPECT_EQ(1U, one.Ids("mappingview").size());
    EXPECT_EQ(1U, other.Ids("mappingview").size());
    EXPECT_THAT(twins.errors,
                HasSubstr("warning: the arrays of " + envOfOne + " (" + one.Url() + ") and " +
                          EnvironmentFileOf(other) + " (" + other.Url() + ") have one device id, 210twins"));
    const Base::ProgramResult same = RunZavctl({"init", "--env", envOfOne, "--env", envOfOne});
    EXPECT_EQ(0, same.status);
    EXPECT_THAT(same.errors, Not(HasSubstr("warning")));
}

TEST_F(BadInputTest, DeviceRecordWhoseMembersAreNoTextsIsNamedAndLeftAlone)
{
    const Array& array = StartArray();
    const std::string content = R"({")" + array.Options().serial + R"(": {"HOSTID": {"not": "a text"}}})";
    WriteText(ZavctlRecordPath(array), content);
    const Base::ProgramResult outcome = RunZavctl({"cleanup", "--env", EnvironmentFileOf(array)});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors,
                HasSubstr(ZavctlRecordPath(array) + ": not a device record in JSON; nothing was changed\n"));
    EXPECT_EQ(content, ReadText(ZavctlRecordPath(array)));
}

TEST_F(BadInputTest, PasswordBeyondTheLongestIsRefusedAndTheLongestTaken)
{
    const std::string longest(4096, 'p');
    EXPECT_EQ(0, RunZavctl({"password", "encrypt", "--new-key"}, longest + "\n").status);
    const Base::ProgramResult outcome = RunZavctl({"password", "encrypt"}, longest + "p\n");
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("zavctl: password: longer than 4096 bytes\n"));
    EXPECT_EQ("", outcome.output);
}

TEST_F(BadInputTest, KeyThatCannotBeMadeIsTheReasonThatNoPasswordIsEncrypted)
{
    WriteText(Directory() + "/blocker", "a file where a folder should be");
    Configure({{"Security.KeyFile", Directory() + "/blocker/product.key"}});
    const Base::ProgramResult outcome = RunZavctl({"password", "encrypt"}, "secret\n");
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("zavctl: password: "), HasSubstr("blocker/product.key"),
                                      HasSubstr("Not a directory"), Not(HasSubstr("secret"))));
    EXPECT_EQ("", outcome.output);
}

TEST_F(BadInputTest, TextsOfTheArrayDoNotSteerTheTerminal)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": 42, "description": "no\u001b[2Jway\u202e", "target": "lun/count"})");
    const Base::ProgramResult refused = RunZavctl({"inventory", "--env", env});
    EXPECT_EQ(9, refused.status);
    EXPECT_THAT(refused.errors, AllOf(HasSubstr("no\\x1b[2Jway\\xe2\\x80\\xae"), Not(HasSubstr("\x1b"))));

    array.AddFault(
        R"({"kind": "answer", "target": "lun\\?range", "answer": {"error": {"code": 0, "description": "0"}, "data": [)"
        R"({"ID": "0", "NAME": "\u001b]0;title\u0007L\u00fcn", "WWN": "w", "CAPACITY": "2097152", "HEALTHSTATUS": "1",)"
        R"( "PARENTID": "0", "ALLOCTYPE": "0"}]}})");
    const Base::ProgramResult shown = RunZavctl({"inventory", "--env", env});
    EXPECT_THAT(shown.output, Not(HasSubstr("\x1b")));
    EXPECT_THAT(shown.output, HasSubstr("\n0       \\x1b]0;title\\x07L\u00fcn               w "));
}

TEST_F(BadInputTest, ConfigurationThatIsMalformedEndsEveryCommand)
{
    const Array& array = StartArray();
    Configure({{"BackupNode.DosRequestInterval", "often"}});
    for (const Process::Arguments& command :
         {Process::Arguments{"config", "check"}, Process::Arguments{"init", "--env", EnvironmentFileOf(array)}}) {
        const Base::ProgramResult outcome = RunZavctl(command);
        EXPECT_EQ(7, outcome.status);
        EXPECT_THAT(outcome.errors, AllOf(HasSubstr(Directory() + "/backupnode.ini"), HasSubstr("DosRequestInterval"),
                                          HasSubstr("often")));
    }
    EXPECT_THAT(array.Requests(), IsEmpty());
}

} // namespace
