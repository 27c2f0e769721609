#include "tests/unit/freed_memory.h"

#include "base/secret.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

class FreedMemoryTest : public ::testing::Test {};

TEST_F(FreedMemoryTest, ASecretThatIsFreedIsFound)
{
    const std::string secret = "found-in-freed-memory";
    FreedMemory memory({secret, "another"});
    std::optional<std::string> text(secret + " behind it");
    memory.Follow(*text);
    memory.During([&text] { text.reset(); });
    EXPECT_EQ(1, memory.Holding(secret));
    EXPECT_EQ(0, memory.Holding("another"));
    EXPECT_FALSE(memory.WasFreedWiped());
}

TEST_F(FreedMemoryTest, ATextThatIsWipedBeforeItIsFreedIsNotFound)
{
    const std::string secret = "found-in-freed-memory";
    FreedMemory memory({secret});
    std::optional<std::string> text(secret);
    memory.Follow(*text);
    memory.During([&text] {
        Secret::Wipe(*text);
        text.reset();
    });
    EXPECT_EQ(0, memory.Holding(secret));
    EXPECT_TRUE(memory.WasFreedWiped());
}

} // namespace
