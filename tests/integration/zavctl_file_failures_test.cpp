#include "tests/integration/failure_stage.h"

#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>

namespace fs = boost::filesystem;

namespace {

/// Each of the node's files that cannot be used.
class ZavctlFileFailuresTest : public FailureStage {
protected:
    const std::string CORRECT_ENVIRONMENT =
        "correct the file (zavctl env check names each fault), make it with zavctl env new, or name another with "
        "--env";

    /// "env: the encrypted password of user admin cannot be decrypted" and why.
    static std::string KeyCause(const std::string& env, const std::string& why)
    {
        return env + ": the encrypted password of user admin cannot be decrypted: " + why;
    }

    std::string Key() const { return Directory() + "/product.key"; }
};

TEST_F(ZavctlFileFailuresTest, EnvironmentThatIsMissing)
{
    ExpectEnding({"init", "--env", "/no/such/env.json"},
                 {7, "environment /no/such/env.json: No such file or directory",
                  "name a file that is there; zavctl env new makes an environment"});
}

TEST_F(ZavctlFileFailuresTest, EnvironmentThatThisUserMayNotRead)
{
    const std::string env = Directory() + "/env.json";
    WriteText(env, "{}");
    ASSERT_EQ(0, ::chmod(env.c_str(), 0));
    RunWithoutRightsOverFiles();
    ExpectEnding({"init", "--env", env}, {13, "environment " + env + ": Permission denied",
                                          "run the command as a user who may, root as a rule"});
}

TEST_F(ZavctlFileFailuresTest, EnvironmentThatIsGarbled)
{
    const std::string env = Directory() + "/env.json";
    WriteText(env, "hello\n");
    ExpectEnding({"init", "--env", env},
                 {7, "environment " + env + ": line 1, column 1: Syntax error: value, object or array expected.",
                  CORRECT_ENVIRONMENT});
}

TEST_F(ZavctlFileFailuresTest, EnvironmentThatIsHalfEmpty)
{
    const std::string env = Directory() + "/env.json";
    WriteText(env, R"({"managementIps": ["127.0.0.1"], "userNames": ["admin"], "encryptedPasswords": ["x"]})");
    ExpectEnding({"inventory", "--env", env},
                 {7, env + ": the environment has no port",
                  "add it to the environment; zavctl env check names all that is missing"});
    WriteText(env, "{}");
    ExpectEnding({"inventory", "--env", env},
                 {7, env + ": the environment has no management IP",
                  "add it to the environment; zavctl env check names all that is missing"});
}

TEST_F(ZavctlFileFailuresTest, KeyThatIsMissing)
{
    const std::string env = EnvironmentFileOf(StartArray());
    fs::remove(Key());
    ExpectEnding({"init", "--env", env},
                 {7, KeyCause(env, "The key file " + Key() + " cannot be opened: No such file or directory"),
                  "restore the key from its backup, or name its place in [Security] KeyFile of backupnode.ini; without "
                  "one encrypt all passwords anew with zavctl password encrypt"});
}

TEST_F(ZavctlFileFailuresTest, KeyOfAWrongMode)
{
    const std::string env = EnvironmentFileOf(StartArray());
    ASSERT_EQ(0, ::chmod(Key().c_str(), 0644));
    ExpectEnding({"init", "--env", env},
                 {7,
                  KeyCause(env, "The key file " + Key() +
                                    " is refused: others than its owner may use it: its mode must be 0600"),
                  "chmod 600 it; where somebody else may have read it, change the arrays' passwords, move the key "
                  "away, and encrypt all anew with zavctl password encrypt --new-key"});
}

TEST_F(ZavctlFileFailuresTest, KeyThatThisUserMayNotRead)
{
    const std::string env = EnvironmentFileOf(StartArray());
    ASSERT_EQ(0, ::chmod(Key().c_str(), 0));
    RunWithoutRightsOverFiles();
    ExpectEnding({"init", "--env", env},
                 {13, KeyCause(env, "The key file " + Key() + " cannot be opened: Permission denied"),
                  "run the command as a user who may, root as a rule"});
}

TEST_F(ZavctlFileFailuresTest, KeyOfAnotherNode)
{
    const std::string env = EnvironmentFileOf(StartArray());
    WriteText(Key(), std::string(64, 'a') + "\n");
    ExpectEnding({"init", "--env", env},
                 {7, KeyCause(env, "The text was changed, or was made with another key than this node's"),
                  "encrypt the password with this node's key, by zavctl password encrypt, and put the result into the "
                  "environment"});
}

TEST_F(ZavctlFileFailuresTest, KeyThatIsNone)
{
    const std::string env = EnvironmentFileOf(StartArray());
    WriteText(Key(), "half a key\n");
    ExpectEnding(
        {"init", "--env", env},
        {7, KeyCause(env, "The key file " + Key() + " is refused: it does not hold 64 hexadecimal digits"),
         "restore the key from its backup; without one move the file away, and encrypt all passwords anew with "
         "zavctl password encrypt"});
}

TEST_F(ZavctlFileFailuresTest, PasswordThatIsNoCipher)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    Change(env, "AES256GCM", "secret");
    ExpectEnding({"init", "--env", env}, {7, KeyCause(env, "The text is no credential that this product stored"),
                                          "encryptedPasswords takes what zavctl password encrypt prints, whole and "
                                          "unchanged"});
}

TEST_F(ZavctlFileFailuresTest, PasswordThatIsNotGiven)
{
    ExpectEnding({"password", "encrypt", "--new-key"},
                 {7, "password: none was given on standard input",
                  "type a password of 1 to 4096 bytes, or have it in the first line of standard input"});
}

TEST_F(ZavctlFileFailuresTest, ConfigurationThatIsMalformed)
{
    const std::string file = Directory() + "/backupnode.ini";
    const std::string remedy =
        "correct the line, or take it away, which gives the default; zavctl config check lists all that is wrong "
        "with the file";
    const std::string first = "configuration " + file +
                              ": [BackupNode] DosRequestInterval = \"often\" is no whole number from 0 to 2147483647 "
                              "(seconds that must pass after a request to an array for the next one to start a new "
                              "burst); the default \"1\" holds";
    Configure({{"BackupNode.DosRequestInterval", "often"}});
    ExpectEnding({"config", "check"}, {7, first, remedy});
    Configure({{"BackupNode.NoSuchKey", "1"}});
    ExpectEnding({"init", "--env", "env.json"}, {7, first + ", the first of 2 that stand above", remedy});
}

TEST_F(ZavctlFileFailuresTest, RecordThatIsCorrupted)
{
    const Array& array = StartArray();
    WriteText(ZavctlRecordPath(array), R"({"half a record": {"HOSTID": "12", )");
    const Ending ending = {7, ZavctlRecordPath(array) + ": not a device record in JSON; nothing was changed",
                           "restore the file from a backup; without one move it away, leave the journal where it is, "
                           "and run zavctl init, which makes a new record; then look at zavctl tidy --dry-run"};
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)}, ending);
    ExpectEnding({"cleanup", "--env", EnvironmentFileOf(array)}, ending);
}

TEST_F(ZavctlFileFailuresTest, RecordThatThisUserMayNotWrite)
{
    const Array& array = StartArray();
    WriteText(ZavctlRecordPath(array), "{}");
    ASSERT_EQ(0, ::chmod(ZavctlRecordPath(array).c_str(), 0400));
    RunWithoutRightsOverFiles();
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {13, ZavctlRecordPath(array) + ": cannot be written: Permission denied",
                  "run the command as a user who may, root as a rule"});
}

TEST_F(ZavctlFileFailuresTest, JournalThatThisUserMayNotWrite)
{
    const Array& array = StartArray();
    const std::string journal = ProductPath("conf/san-journal");
    WriteText(journal, "");
    ASSERT_EQ(0, ::chmod(journal.c_str(), 0400));
    RunWithoutRightsOverFiles();
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {13,
                  "what is made could not be entered into the journal: cannot write " + journal +
                      ": Permission denied; nothing was changed",
                  "run the command as a user who may, root as a rule"});
}

TEST_F(ZavctlFileFailuresTest, FolderOfTheRecordThatIsMissing)
{
    const Array& array = StartArray();
    fs::remove_all(ProductPath("conf"));
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {7,
                  ZavctlRecordPath(array) + ": cannot be written: there is no folder " + ProductPath("conf") +
                      ", which the record lies in",
                  "make the folder, owned by the user who runs zavctl; then run the command again"});
}

TEST_F(ZavctlFileFailuresTest, FileSystemThatIsFull)
{
    const Process::Arguments apart = {"unshare", "--mount", "--map-root-user"};
    Process::Arguments attempt = apart;
    attempt.insert(attempt.end(), {"mount", "-t", "tmpfs", "none", ProductPath("conf")});
    if (RunToEnd(attempt).status != 0) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    const Array& array = StartArray();
    Process::Arguments words = apart;
    words.insert(words.end(),
                 {"sh", "-c", "mount -t tmpfs -o size=16k none \"$0\" && exec \"$@\"", ProductPath("conf")});
    RunBehind(words);
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {7, ZavctlRecordPath(array) + ": cannot be written: No space left on device (16384 bytes are free)",
                  "make room on that file system, then run the command again"});
}

TEST_F(ZavctlFileFailuresTest, StandardOutputThatIsFull)
{
    const Array& array = StartArray();
    RunBehind({"sh", "-c", "exec \"$@\" >/dev/full", "sh"});
    ExpectEnding({"inventory", "--env", EnvironmentFileOf(array)},
                 {7, "standard output cannot be written: No space left on device",
                  "make room where the output goes, or send it elsewhere"});
}

TEST_F(ZavctlFileFailuresTest, CommandLineThatIsWrong)
{
    const std::string remedy = "zavctl --help, or --help behind the command, tells what it takes";
    ExpectEnding(Process::Arguments{}, {2, "A subcommand is required", remedy});
    ExpectEnding({"init"}, {2, "An environment, by --env or ZAVCTL_ENV, is required", remedy});
    ExpectEnding({"init", "--env", "x", "--watch", "0"}, {2, "--watch: Value 0 not in range 1 to 86400", remedy});
    ExpectEnding({"initt"}, {2, "no command initt: did you mean init?", remedy});
}

} // namespace
