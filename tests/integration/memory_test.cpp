#include "common/framework/security.h"
#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// What a core of a process would tell of a password.
class MemoryTest : public Stage {
protected:
    static constexpr const char* WRONG = "not-this-array's-secret-4711";

    static std::string Turned(const std::string& text)
    {
        std::string digits;
        for (const char character : text) {
            std::array<char, 3> pair = {};
            std::snprintf(pair.data(), pair.size(), "%02x", static_cast<unsigned char>(~character));
            digits += pair.data();
        }
        return digits;
    }

    /// The array's environment with another password.
    std::string EnvironmentWithWrongPassword(const Array& array) const
    {
        std::string text = ReadText(EnvironmentFileOf(array));
        const std::string members = "\"encryptedPasswords\": [\"";
        const std::size_t begin = text.find(members) + members.size();
        std::string cipher;
        std::string errorText;
        EXPECT_TRUE(SecuritySS::ZelkEncryptInfo(WRONG, cipher, errorText)) << errorText;
        text.replace(begin, text.find('"', begin) - begin, cipher);
        const std::string path = Directory() + "/wrong.json";
        WriteText(path, text);
        return path;
    }
};

TEST_F(MemoryTest, RefusedLoginLeavesNoCopyOfThePassword)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentWithWrongPassword(array);
    const Base::ProgramResult probe = RunToEnd({ProgramPath("memory_probe"), env, Turned(WRONG)});
    EXPECT_EQ(0, probe.status) << probe.errors;
    EXPECT_THAT(probe.output, HasSubstr("init: 0"));
    EXPECT_THAT(probe.output, Not(HasSubstr("found in")));
    // The probe finds what is there: the text of the environment, which it holds.
    EXPECT_THAT(RunToEnd({ProgramPath("memory_probe"), env, Turned("encryptedPasswords")}).output,
                HasSubstr("found in"));
}

TEST_F(MemoryTest, PreparedNodeHoldsNoCopyOfThePassword)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const Base::ProgramResult probe =
        RunToEnd({ProgramPath("memory_probe"), EnvironmentFileOf(array), Turned(PASSWORD)});
    EXPECT_THAT(probe.output, HasSubstr("init: 1"));
    EXPECT_THAT(probe.output, Not(HasSubstr("found in")));
}

} // namespace
