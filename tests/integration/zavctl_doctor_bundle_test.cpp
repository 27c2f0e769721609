#include "common/framework/security.h"
#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem.hpp>

#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace fs = boost::filesystem;

namespace {

constexpr const char* CANARY = "canary\"of/all&secrets"; // quoted by JSON, encoded by addresses

/// What support is sent.
class ZavctlDoctorBundleTest : public Stage {
protected:
    ZavctlDoctorBundleTest()
    {
        WriteText(Directory() + "/password", std::string(CANARY) + "\n");
        ArrayOptions options;
        options.further = {"--user", "admin", "--password-file", Directory() + "/password"};
        m_array = &StartArray(options);
        StartTargets(m_array->Options().serviceIps);
        m_env = EnvironmentFileOf(*m_array);
        std::string errorText;
        EXPECT_TRUE(SecuritySS::ZelkEncryptInfo(CANARY, m_cipher, errorText)) << errorText;
        const std::string text = ReadText(m_env);
        const std::size_t start = text.find("AES256GCM");
        WriteText(m_env, boost::replace_all_copy(text, text.substr(start, text.find('"', start) - start), m_cipher));
        const Base::ProgramResult init = RunZavctl({"init", "--env", m_env});
        EXPECT_EQ(0, init.status) << init.errors;
    }

    std::string Bundle() const { return Directory() + "/case.tar.gz"; }

    Base::ProgramResult Pack(Process::Arguments further = {}) const
    {
        Process::Arguments words = {"doctor", "--env", m_env, "--bundle", Bundle()};
        words.insert(words.end(), further.begin(), further.end());
        return RunZavctl(words);
    }

    /// A file of the archive.
    std::string Packed(const std::string& name) const
    {
        return RunToEnd({"tar", "-xzOf", Bundle(), "zavctl-doctor/" + name}).output;
    }

    /// Everything in the archive, names included.
    std::string All() const { return RunToEnd({"/bin/sh", "-c", "gzip -dc <" + Bundle()}).output; }

    Array* m_array = nullptr;
    std::string m_env;
    std::string m_cipher;
};

TEST_F(ZavctlDoctorBundleTest, HoldsWhatSupportNeeds)
{
    ASSERT_EQ(0, ::chmod(ProductPath("conf/san-journal").c_str(), 0644));
    const Base::ProgramResult packed = Pack();
    EXPECT_EQ(3, packed.status);
    EXPECT_EQ("zavctl: packed into " + Bundle() + ", without passwords, keys, tokens and cookies\n", packed.errors);
    EXPECT_THAT(Packed("versions.txt"), AllOf(HasSubstr("zavctl 1."), HasSubstr("iscsiadm version 2.1.8")));
    EXPECT_EQ("journal", ParseJsonText(Packed("findings.json"))["findings"][0]["seen"].asString().substr(4, 7));
    EXPECT_THAT(Packed("configuration.ini"), HasSubstr("KeyFile = "));
    EXPECT_THAT(Packed("settings.txt"), HasSubstr("[BackupNode] DosRequestCount = 100 (default)\n"));
    EXPECT_EQ(m_array->Options().managementIps[0],
              ParseJsonText(Packed("environment.json"))["managementIps"][0].asString());
    EXPECT_EQ(ReadText(ZavctlRecordPath(*m_array)), Packed(m_array->Options().serial + "-info.conf"));
    EXPECT_EQ(ReadText(ProductPath("conf/san-journal")), Packed("san-journal"));
    EXPECT_THAT(Packed("log-tail.txt"), HasSubstr("InitDeviceSet"));
    const std::string answers = Packed("answers.jsonl");
    EXPECT_THAT(answers, HasSubstr(R"("resource":"mappingview/1")"));
    EXPECT_THAT(answers, HasSubstr(m_array->Object("mappingview", "1")["name"].asString()));
    EXPECT_EQ(0U, m_array->SessionCount());
}

TEST_F(ZavctlDoctorBundleTest, HoldsNoSecret)
{
    // Secrets where they should not be, and somebody put them all the same.
    WriteText(Directory() + "/backupnode.ini",
              "; the password is " + std::string(CANARY) + "\n" + ReadText(Directory() + "/backupnode.ini"));
    WriteText(Directory() + "/library.log",
              ReadText(Directory() + "/library.log") + "login of admin with " + CANARY +
                  "\n{\"iBaseToken\":\"0123456789abcdef\",\"password\": \"canary\\\"of/all&secrets\"}\n"
                  "Cookie: session=fedcba9876543210; token=canary%22of%2Fall%26secrets\n");
    EXPECT_EQ(0, Pack().status);
    const std::string all = All();
    EXPECT_THAT(Packed("log-tail.txt"), HasSubstr("login of admin with ***\n"));
    for (const std::string& secret :
         {std::string("canary"), m_cipher, std::string("0123456789abcdef"), std::string("fedcba9876543210"),
          ReadText(Directory() + "/product.key").substr(0, 64)}) {
        EXPECT_THAT(all, Not(HasSubstr(secret)));
    }
    EXPECT_EQ("***", ParseJsonText(Packed("environment.json"))["encryptedPasswords"][0].asString());
}

TEST_F(ZavctlDoctorBundleTest, IsItsOwnersAloneAndReplacesNothingUnasked)
{
    EXPECT_EQ(0, Pack().status);
    struct stat status = {};
    ASSERT_EQ(0, ::stat(Bundle().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    WriteText(Bundle(), "somebody's\n");
    const Base::ProgramResult refused = Pack();
    EXPECT_EQ(7, refused.status);
    EXPECT_EQ("", refused.output);
    EXPECT_EQ(
        "zavctl: bundle " + Bundle() +
            ": File exists\nzavctl: remedy: name a file that is not there yet, in a folder that you may write, or "
            "add --overwrite\n",
        refused.errors);
    EXPECT_EQ("somebody's\n", ReadText(Bundle()));
    EXPECT_EQ(0, Pack({"--overwrite"}).status);
    EXPECT_THAT(Packed("versions.txt"), HasSubstr("zavctl 1."));
    EXPECT_EQ(2, RunZavctl({"doctor", "--overwrite"}).status);
}

TEST_F(ZavctlDoctorBundleTest, EmptyNameIsRefused)
{
    const Base::ProgramResult outcome = RunZavctl({"doctor", "--env", m_env, "--bundle", ""});
    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("--bundle: names no file"));
}

TEST_F(ZavctlDoctorBundleTest, ReplacesNothingButAFile)
{
    ASSERT_EQ(0, ::mkfifo(Bundle().c_str(), 0600));
    const Base::ProgramResult refused = Pack({"--overwrite"});
    EXPECT_EQ(7, refused.status);
    EXPECT_EQ("zavctl: bundle " + Bundle() +
                  ": it is there, and no regular file\n"
                  "zavctl: remedy: name another file; what stands there is left alone\n",
              refused.errors);
    EXPECT_EQ(fs::fifo_file, fs::status(Bundle()).type());
}

TEST_F(ZavctlDoctorBundleTest, FileSystemThatIsFullIsToldAndNoPartIsLeft)
{
    const Process::Arguments apart = {"unshare", "--mount", "--map-root-user"};
    const std::string folder = Directory() + "/small";
    fs::create_directory(folder);
    Process::Arguments attempt = apart;
    attempt.insert(attempt.end(), {"mount", "-t", "tmpfs", "none", folder});
    if (RunToEnd(attempt).status != 0) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    Process::Arguments words = apart;
    words.insert(words.end(), {"sh", "-c", "mount -t tmpfs -o size=4k none \"$0\" && \"$@\"; ls \"$0\"", folder,
                               ProductPath("bin/zavctl"), "doctor", "--bundle", folder + "/case.tar.gz"});
    const Base::ProgramResult full = RunToEnd(words);
    EXPECT_EQ("zavctl: bundle " + folder +
                  "/case.tar.gz: No space left on device\n"
                  "zavctl: remedy: make room on that file system, then run the command again\n",
              full.errors);
    EXPECT_EQ("all well on this node; --env names an array to look at\n", full.output) << "and no file";
}

TEST_F(ZavctlDoctorBundleTest, LogThatIsADeviceIsNotRead)
{
    Configure({{"Log.File", "/dev/null"}});
    EXPECT_EQ(0, Pack().status);
    EXPECT_EQ("/dev/null is no regular file\n", Packed("log-tail.txt")) << "another might say nothing for ever";
}

TEST_F(ZavctlDoctorBundleTest, ToolThatHangsKeepsNoBundleFromBeingMade)
{
    WriteProgram(Directory() + "/node/bin/iscsiadm", "exec sleep 60\n");
    EXPECT_EQ(8, Pack().status);
    EXPECT_THAT(Packed("versions.txt"),
                AllOf(HasSubstr("\n$ uname -srvm\nLinux "), HasSubstr("\n$ iscsiadm --version\nno end within 5 s\n"),
                      HasSubstr("\n$ iscsiadm -m session\nno end within 5 s\n")));
}

TEST_F(ZavctlDoctorBundleTest, SignalLeavesNothingOfWhatWasToBePacked)
{
    const std::string work = Directory() + "/work";
    fs::create_directory(work);
    const std::string tar = Directory() + "/tools/tar";
    WriteText(tar, "#!/bin/sh\necho $$ >" + Directory() + "/child\nexec sleep 60\n");
    ASSERT_EQ(0, ::chmod(tar.c_str(), 0700));
    Process zavctl({ProductPath("bin/zavctl"), "doctor", "--bundle", Bundle()},
                   {"TMPDIR=" + work, "PATH=" + Directory() + "/tools:" + std::getenv("PATH")});
    WaitUntil("tar", [this] { return !ReadText(Directory() + "/child").empty(); });
    EXPECT_FALSE(fs::is_empty(work));
    zavctl.Signal(SIGTERM);
    EXPECT_EQ(128 + SIGTERM, zavctl.Wait());
    EXPECT_TRUE(fs::is_empty(work));
    EXPECT_FALSE(fs::exists(Bundle()));
    const int child = std::stoi(ReadText(Directory() + "/child"));
    WaitUntil("tar's end", [child] { return ::kill(child, 0) != 0; });
}

TEST_F(ZavctlDoctorBundleTest, FindingsAreToldAlsoWhereThereCanBeNoBundle)
{
    const Base::ProgramResult outcome =
        RunToEnd({ProductPath("bin/zavctl"), "doctor", "--env", m_env, "--bundle", Bundle(), "-o", "json"},
                 {"TMPDIR=" + Directory() + "/none"});
    EXPECT_EQ(7, outcome.status);
    const Json::Value answer = ParseJsonText(outcome.output);
    EXPECT_TRUE(answer["well"].asBool());
    EXPECT_EQ(7, answer["exit"].asInt());
    EXPECT_THAT(answer["error"]["cause"].asString(), HasSubstr("bundle " + Bundle() + ": "));
    EXPECT_FALSE(fs::exists(Bundle()));
}

TEST_F(ZavctlDoctorBundleTest, ArrayThatSaysNothingKeepsNoBundleFromBeingMade)
{
    m_array->Program().Signal(SIGTERM);
    m_array->Program().Wait();
    EXPECT_EQ(8, Pack().status);
    EXPECT_THAT(Packed("findings.json"), HasSubstr("it takes no connection"));
}

} // namespace
