#include "rest/secret_request.h"

#include "tests/unit/freed_memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

/// A secret that a text holds within itself, and one for which it needs a buffer.
class SecretRequestTest : public ::testing::TestWithParam<std::string> {
protected:
    FreedMemory m_memory{{GetParam()}};
};

TEST_P(SecretRequestTest, ARequestThatIsReleasedLeavesNeitherBodyNorHeaders)
{
    auto request = std::make_unique<SecretRequest>();
    request->body = GetParam();
    request->headers = {{"Cookie", GetParam()}, {"Other", "value"}, {"Token", GetParam()}};
    m_memory.During([&request] { request.reset(); });
    EXPECT_EQ(0, m_memory.Holding(GetParam()));
}

TEST_P(SecretRequestTest, InsertSecretHeaderInsertsAsTheSetDoes)
{
    TMSHttpRequest request;
    InsertSecretHeader(request, "Token", GetParam());
    InsertSecretHeader(request, "Token", GetParam());
    InsertSecretHeader(request, "Token", "another");
    EXPECT_THAT(request.headers, ::testing::UnorderedElementsAre(Pair("Token", GetParam()), Pair("Token", "another")));
}

TEST_P(SecretRequestTest, InsertSecretHeaderLeavesNoCopyBehind)
{
    TMSHttpRequest request;
    m_memory.During([&request] {
        InsertSecretHeader(request, "Token", GetParam());
        InsertSecretHeader(request, "Token", GetParam());
    });
    EXPECT_EQ(0, m_memory.Holding(GetParam()));
    EXPECT_THAT(request.headers, ElementsAre(Pair("Token", GetParam())));
}

TEST_P(SecretRequestTest, AnAnswerThatIsReleasedLeavesNoText)
{
    auto answer = std::make_unique<SecretAnswer>();
    answer->data["list"][0]["token"] = GetParam();
    m_memory.During([&answer] { answer.reset(); });
    EXPECT_EQ(0, m_memory.Holding(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, SecretRequestTest, ::testing::Values("SQ-1234", "SQ-" + std::string(60, 'q')));

} // namespace
