#include "common/framework/security.h"
#include "tests/integration/stage.h"
#include "tests/integration/terminal.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// The key of a node that begins with none: it is made when somebody wants it, and at no other time.
class ZavctlKeyTest : public Stage {
protected:
    Base::ProgramResult Encrypt(const Process::Arguments& options = {}) const
    {
        Process::Arguments command = {"password", "encrypt"};
        command.insert(command.end(), options.begin(), options.end());
        return RunZavctl(command, "open sesame\n");
    }

    /// zavctl before a person at the terminal.
    std::unique_ptr<Process> EncryptOnTerminal(const Terminal& terminal) const
    {
        return std::make_unique<Process>(Process::Arguments{"/bin/sh", "-c", R"(exec "$@" <"$TERMINAL" 2>"$TERMINAL")",
                                                            "sh", ProductPath("bin/zavctl"), "password", "encrypt"},
                                         Process::Arguments{"TERMINAL=" + terminal.Path()});
    }

    std::string KeyPath() const { return Directory() + "/product.key"; }
    bool HasKey() const { return !ReadText(KeyPath()).empty(); }
};

TEST_F(ZavctlKeyTest, KeyThatIsMissingIsNotMadeUnasked)
{
    const Base::ProgramResult outcome = Encrypt();
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, StartsWith("zavctl: there is no key in " + KeyPath() +
                                           " yet\nzavctl: remedy: add --new-key where this node never had a key"));
    EXPECT_EQ("", outcome.output);
    EXPECT_FALSE(HasKey());
}

TEST_F(ZavctlKeyTest, KeyIsMadeWhenItIsAskedForAndToldOf)
{
    const Base::ProgramResult outcome = Encrypt({"--new-key"});
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("zavctl: made a new key, " + KeyPath() + ": keep a copy of it in a safe place\n", outcome.errors);
    struct stat status = {};
    ASSERT_EQ(0, stat(KeyPath().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    std::string plain;
    EXPECT_TRUE(SecuritySS::ZelkDecryptInfo(outcome.output.substr(0, outcome.output.size() - 1), plain));
    EXPECT_EQ("open sesame", plain);

    const Base::ProgramResult again = Encrypt();
    EXPECT_EQ(0, again.status);
    EXPECT_EQ("", again.errors) << "the key that is there is used without a word";
}

TEST_F(ZavctlKeyTest, KeyThatIsThereIsNeverReplaced)
{
    ASSERT_EQ(0, Encrypt({"--new-key"}).status);
    const std::string key = ReadText(KeyPath());
    const Base::ProgramResult outcome = Encrypt({"--new-key"});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(StartsWith("zavctl: no new key is made: there is one in " + KeyPath() +
                                                 ", which stays as it is\nzavctl: remedy: leave out --new-key"),
                                      Not(HasSubstr("sesame"))));
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ(key, ReadText(KeyPath()));
}

TEST_F(ZavctlKeyTest, FileThatIsNoUsableKeyIsNotReplacedEither)
{
    WriteText(KeyPath(), "no key at all\n");
    chmod(KeyPath().c_str(), 0600);
    const Base::ProgramResult outcome = Encrypt({"--new-key"});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, StartsWith("zavctl: no new key is made: The key file " + KeyPath() +
                                           " is refused: it does not hold 64 hexadecimal digits\n"));
    EXPECT_EQ("no key at all\n", ReadText(KeyPath()));
}

TEST_F(ZavctlKeyTest, PersonAtTheTerminalIsAskedBeforeAKeyIsMade)
{
    Terminal terminal;
    const std::unique_ptr<Process> zavctl = EncryptOnTerminal(terminal);
    terminal.WaitFor("zavctl: there is no key in " + KeyPath() + " yet: make one? [y/N] ");
    EXPECT_FALSE(HasKey());
    terminal.Type("y\n");
    terminal.WaitFor("Password: ");
    terminal.Type("open sesame\n");
    EXPECT_EQ(0, zavctl->Wait()) << terminal.Shown();
    EXPECT_THAT(terminal.Shown(), AllOf(EndsWith(": keep a copy of it in a safe place\r\n"), Not(HasSubstr("sesame"))));
    EXPECT_TRUE(HasKey());
}

TEST_F(ZavctlKeyTest, PersonWhoWantsNoKeyIsNotAskedForAPassword)
{
    Terminal terminal;
    const std::unique_ptr<Process> zavctl = EncryptOnTerminal(terminal);
    terminal.WaitFor("make one? [y/N] ");
    terminal.Type("\n");
    EXPECT_EQ(7, zavctl->Wait());
    EXPECT_THAT(terminal.Shown(), AllOf(HasSubstr("remedy: add --new-key"), Not(HasSubstr("Password"))));
    EXPECT_FALSE(HasKey());
}

} // namespace
