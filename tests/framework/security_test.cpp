#include "common/framework/security.h"

#include "framework/public/node_key.h"
#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/probe.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class SecurityTest : public FrameworkTest {
protected:
    std::string KeyPath() const { return InRoot("conf/product.key"); }

    static std::string Encrypt(const std::string& plain)
    {
        std::string cipher = "left over";
        std::string errorText = "left over";
        EXPECT_TRUE(SecuritySS::ZelkEncryptInfo(plain, cipher, errorText)) << errorText;
        EXPECT_EQ("", errorText);
        return cipher;
    }

    static std::string Decrypt(const std::string& cipher)
    {
        std::string plain = "left over";
        EXPECT_TRUE(SecuritySS::ZelkDecryptInfo(cipher, plain));
        return plain;
    }

    /// The reason that the log gives for a refusal; "" when the text was decrypted after all.
    std::string Refusal(const std::string& cipher)
    {
        std::string plain = "left over";
        const std::size_t before = LogTexts("4").size();
        if (SecuritySS::ZelkDecryptInfo(cipher, plain)) {
            ADD_FAILURE() << "decrypted: " << cipher;
            return "";
        }
        EXPECT_EQ("", plain);
        const std::vector<std::string> lines = LogTexts("4");
        EXPECT_EQ(before + 1, lines.size());
        const std::string start = "A stored credential cannot be decrypted. ";
        EXPECT_THAT(lines.back(), StartsWith(start));
        return lines.back().substr(start.size());
    }
};

TEST_F(SecurityTest, EncryptedTextComesBackWhateverItHolds)
{
    const std::vector<std::string> texts = {"",
                                            "x",
                                            "Pass|word\"'\\",
                                            "Größe 大小",
                                            std::string("nul\0inside", 10),
                                            std::string(15, 'a'),
                                            std::string(16, 'b'),
                                            std::string(100'000, 'c')};
    for (const std::string& text : texts) {
        EXPECT_EQ(text, Decrypt(Encrypt(text)));
    }
}

TEST_F(SecurityTest, StoredTextIsVersionedPrintableAndNeverTheSame)
{
    std::set<std::string> ciphers;
    for (int round = 0; round < 50; ++round) {
        ciphers.insert(Encrypt("password"));
    }
    EXPECT_EQ(50U, ciphers.size());
    EXPECT_THAT(*ciphers.begin(), MatchesRegex("AES256GCM\\.1\\.[A-Za-z0-9+/]+=*"));
}

TEST_F(SecurityTest, FirstEncryptionMakesAKeyThatOnlyItsOwnerMayUse)
{
    ::umask(0);
    Encrypt("x");
    ::umask(022);
    struct stat status = {};
    ASSERT_EQ(0, ::stat(KeyPath().c_str(), &status));
    EXPECT_EQ(0100600U, status.st_mode);
    EXPECT_THAT(ReadText(KeyPath()), MatchesRegex("[0-9a-f]+\n"));
    EXPECT_EQ(65U, ReadText(KeyPath()).size());
    EXPECT_THAT(LogTexts("2"), ElementsAre("Made a new key, " + KeyPath()));

    const std::string key = ReadText(KeyPath());
    Encrypt("y");
    EXPECT_EQ(key, ReadText(KeyPath()));
}

TEST_F(SecurityTest, KeyIsMadeUsableUnderEveryMask)
{
    ::umask(0777);
    const std::string cipher = Encrypt("x");
    ::umask(022);
    EXPECT_EQ("x", Decrypt(cipher));
}

TEST_F(SecurityTest, ThreadsThatNeedTheFirstKeyAllUseTheSame)
{
    std::vector<std::string> ciphers(8);
    std::vector<std::thread> threads;
    for (std::string& cipher : ciphers) {
        threads.emplace_back([&cipher] { cipher = Encrypt("shared"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& cipher : ciphers) {
        EXPECT_EQ("shared", Decrypt(cipher));
    }
    EXPECT_THAT(std::distance(std::filesystem::directory_iterator(InRoot("conf")), {}), 2); // configuration and key
}

TEST_F(SecurityTest, DecryptionMakesNoKey)
{
    const std::string cipher = Encrypt("x");
    std::filesystem::remove(KeyPath());
    EXPECT_EQ("The key file " + KeyPath() + " cannot be opened: No such file or directory.", Refusal(cipher));
    EXPECT_FALSE(std::filesystem::exists(KeyPath()));
}

TEST_F(SecurityTest, EveryChangeOfTheTextIsFound)
{
    const std::string cipher = Encrypt("pa");
    for (std::size_t position = 0; position < cipher.size(); ++position) {
        for (const char other : {'A', 'B', '/', '=', '\n', 'z'}) {
            std::string changed = cipher;
            changed[position] = other;
            if (changed != cipher) {
                EXPECT_NE("", Refusal(changed)) << changed;
            }
        }
    }
}

TEST_F(SecurityTest, LongerAndShorterTextsAreRefused)
{
    const std::string cipher = Encrypt("password");
    const std::string notStored = "The text is no credential that this product stored.";
    EXPECT_EQ(notStored, Refusal(""));
    EXPECT_EQ(notStored, Refusal("password"));
    EXPECT_EQ(notStored, Refusal("AES256GCM.1."));
    EXPECT_EQ(notStored, Refusal("AES256GCM.1.AAAA"));
    EXPECT_EQ(notStored, Refusal("AES256GCM.2." + cipher.substr(12)));
    EXPECT_EQ(notStored, Refusal(cipher + "\n"));
    EXPECT_EQ(notStored, Refusal(" " + cipher));
    EXPECT_EQ(notStored, Refusal(cipher + "="));
    EXPECT_NE("", Refusal(cipher + "AAAA"));
    EXPECT_NE("", Refusal(cipher.substr(0, cipher.size() - 4)));
}

TEST_F(SecurityTest, TextOfAnotherKeyIsRefused)
{
    const std::string cipher = Encrypt("x");
    std::filesystem::remove(KeyPath());
    Encrypt("y");
    EXPECT_EQ("The text was changed, or was made with another key than this node's.", Refusal(cipher));
}

TEST_F(SecurityTest, KeyThatOthersMayUseIsRefused)
{
    const std::string cipher = Encrypt("x");
    const std::string reason =
        "The key file " + KeyPath() + " is refused: others than its owner may use it: its mode must be 0600";
    for (const mode_t mode : {0644U, 0640U, 0602U, 0601U, 0700U, 04600U}) {
        ASSERT_EQ(0, ::chmod(KeyPath().c_str(), mode));
        EXPECT_EQ(reason + ".", Refusal(cipher)) << std::oct << mode;
        std::string ciphertext = "left over";
        std::string errorText;
        EXPECT_FALSE(SecuritySS::ZelkEncryptInfo("x", ciphertext, errorText));
        EXPECT_EQ(reason, errorText);
        EXPECT_EQ("", ciphertext);
    }
    ::chmod(KeyPath().c_str(), 0600);
    EXPECT_EQ("x", Decrypt(cipher));
}

TEST_F(SecurityTest, KeyOfAnotherUserIsRefused)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a file away";
    }
    const std::string cipher = Encrypt("x");
    ASSERT_EQ(0, ::chown(KeyPath().c_str(), 12345, 0));
    EXPECT_THAT(Refusal(cipher), HasSubstr("is refused: it belongs to user 12345, not to 0."));
}

TEST_F(SecurityTest, KeyThatIsNoRegularFileIsRefused)
{
    const std::string cipher = Encrypt("x");
    std::filesystem::rename(KeyPath(), InRoot("conf/real.key"));
    std::filesystem::create_symlink(InRoot("conf/real.key"), KeyPath());
    EXPECT_THAT(Refusal(cipher), HasSubstr("cannot be opened: it is a symbolic link."));
    std::filesystem::remove(KeyPath());

    ASSERT_EQ(0, ::mkfifo(KeyPath().c_str(), 0600));
    EXPECT_THAT(Refusal(cipher), HasSubstr("is refused: it is no regular file."));
    std::filesystem::remove(KeyPath());

    std::filesystem::create_directory(KeyPath());
    EXPECT_THAT(Refusal(cipher), HasSubstr("is refused: it is no regular file."));
}

TEST_F(SecurityTest, KeyFileThatHoldsNoKeyIsRefused)
{
    const std::string cipher = Encrypt("x");
    const std::string key = ReadText(KeyPath());
    for (const std::string& text : {std::string(), key.substr(0, 63), "0" + key, std::string(64, 'g'), key + "\n" + key,
                                    std::string(1'000'000, '0'), key + " ", key + "\n\n", key + "\n\n# another key"}) {
        WriteText(KeyPath(), text);
        EXPECT_THAT(Refusal(cipher), HasSubstr("is refused: it does not hold 64 hexadecimal digits."));
    }
    for (const char* const lineEnd : {"", "\n", "\r\n"}) {
        WriteText(KeyPath(), key.substr(0, 64) + lineEnd);
        EXPECT_EQ("x", Decrypt(cipher));
    }
}

TEST_F(SecurityTest, WhatAKilledProcessLeftBesideTheKeyDoesNotKeepItFromBeingMade)
{
    std::vector<std::string> leftOvers;
    for (const std::string number : {"1", "2", "3"}) { // the first names that a process with this number tries
        leftOvers.push_back(KeyPath() + "." + std::to_string(::getpid()) + "-" + number + ".tmp");
        WriteText(leftOvers.back(), "another's");
    }
    EXPECT_EQ("x", Decrypt(Encrypt("x")));
    for (const std::string& leftOver : leftOvers) {
        EXPECT_EQ("another's", ReadText(leftOver));
    }
}

TEST_F(SecurityTest, KeyThatCannotBeMadeIsAnErrorWithTheReason)
{
    WriteText(InRoot("blocker"), "");
    Configure({{"Security", {{"KeyFile", "blocker/product.key"}}}});
    std::string cipher = "left over";
    std::string errorText;
    EXPECT_FALSE(SecuritySS::ZelkEncryptInfo("x", cipher, errorText));
    EXPECT_EQ("", cipher);
    EXPECT_EQ("The key file " + InRoot("blocker/product.key") + " cannot be opened: Not a directory", errorText);
}

TEST_F(SecurityTest, NothingOfACredentialOrTheKeyStaysInMemory)
{
    const Base::ProgramResult result = RunToEnd({ProbePath(), "sealed-secrets", KeyPath()});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("plain 0, key digits 0, key bytes 0\n", result.output);
}

TEST_F(SecurityTest, NothingOfACredentialIsLogged)
{
    Configure({{"Log", {{"Level", "0"}}}});
    const std::string cipher = Encrypt("s3cr3t-password");
    Decrypt(cipher);
    std::string plain;
    EXPECT_FALSE(SecuritySS::ZelkDecryptInfo(cipher + "AAAA", plain));
    EXPECT_THAT(ReadText(LogPath()), testing::Not(HasSubstr("s3cr3t")));
    EXPECT_THAT(ReadText(LogPath()), testing::Not(HasSubstr(cipher.substr(12))));
}

TEST_F(SecurityTest, KeyIsLookedAtWithoutBeingMade)
{
    const OpenFramework::NodeKey missing = OpenFramework::LookAtNodeKey();
    EXPECT_EQ(OpenFramework::NodeKey::State::Missing, missing.state);
    EXPECT_EQ(KeyPath(), missing.path);
    EXPECT_FALSE(std::filesystem::exists(KeyPath()));

    Encrypt("text");
    const OpenFramework::NodeKey usable = OpenFramework::LookAtNodeKey();
    EXPECT_EQ(OpenFramework::NodeKey::State::Usable, usable.state);
    EXPECT_EQ("", usable.problem);

    chmod(KeyPath().c_str(), 0640);
    const OpenFramework::NodeKey refused = OpenFramework::LookAtNodeKey();
    EXPECT_EQ(OpenFramework::NodeKey::State::Refused, refused.state);
    EXPECT_EQ("The key file " + KeyPath() + " is refused: others than its owner may use it: its mode must be 0600",
              refused.problem);
}

} // namespace
