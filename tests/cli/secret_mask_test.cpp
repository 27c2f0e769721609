#include "cli/doctor/secret_mask.h"

#include <gtest/gtest.h>

namespace {

std::string MaskedOf(const std::string& secret, const std::string& text)
{
    Doctor::SecretMask mask;
    mask.Know(secret);
    return mask.Mask(text);
}

TEST(SecretMaskTest, LongSecretIsMaskedWhereverItStands)
{
    EXPECT_EQ("login of admin with ***, and x***y", MaskedOf("canary", "login of admin with canary, and xcanaryy"));
}

TEST(SecretMaskTest, ShortSecretIsMaskedAsAWordAlone)
{
    EXPECT_EQ("login as admin with ***\n", MaskedOf("a", "login as admin with a\n"));
    EXPECT_EQ("***", MaskedOf("a", "a"));
    EXPECT_EQ(R"({"sent":"***","name":"cat_a","data":["***"]})",
              MaskedOf("a", R"({"sent":"a","name":"cat_a","data":["a"]})"));
    EXPECT_EQ("/rest?key=***&more=abab", MaskedOf("ab", "/rest?key=ab&more=abab"));
    EXPECT_EQ("aaa ***", MaskedOf("aa", "aaa aa"));
}

TEST(SecretMaskTest, ShortSecretIsMaskedAsJsonAndAddressesHaveIt)
{
    EXPECT_EQ(R"("***" and key=***)", MaskedOf("\"&", R"("\"&" and key=%22%26)"));
}

TEST(SecretMaskTest, ShortSecretWithinALongOneLeavesNothingOfThat)
{
    Doctor::SecretMask mask;
    mask.Know("x");
    mask.Know("pass-x-word");
    EXPECT_EQ("***, ***", mask.Mask("x, pass-x-word"));
}

TEST(SecretMaskTest, NothingIsMaskedForAnEmptySecret)
{
    EXPECT_EQ("all well", MaskedOf("", "all well"));
}

} // namespace
