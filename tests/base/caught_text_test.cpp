#include "base/caught_text.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <stdexcept>
#include <thread>

namespace {

template <typename Thrown>
std::string TextOf(const Thrown& thrown)
{
    try {
        throw thrown;
    } catch (...) {
        return Base::CaughtText();
    }
}

TEST(CaughtTextTest, TextIsTheExceptionsOwn)
{
    EXPECT_EQ("no space left", TextOf(std::runtime_error("no space left")));
}

TEST(CaughtTextTest, WhatHasNoTextStillGivesOne)
{
    EXPECT_EQ("an exception without a text", TextOf(42));
    EXPECT_EQ("an exception without a text", TextOf(std::runtime_error("")));
}

TEST(CaughtTextTest, ExceptionCanBeAskedAgainAndThrownOn)
{
    try {
        try {
            throw std::runtime_error("first");
        } catch (...) {
            EXPECT_EQ("first", Base::CaughtText());
            EXPECT_EQ("first", Base::CaughtText());
            throw;
        }
    } catch (const std::exception& error) {
        EXPECT_STREQ("first", error.what());
    }
}

TEST(CaughtTextTest, CancellationOfTheThreadPasses)
{
    bool isCaught = false;
    bool isUnwound = false;
    std::thread thread([&] {
        struct Unwinding {
            ~Unwinding() { isUnwound = true; }
            bool& isUnwound;
        };
        const Unwinding unwinding = {isUnwound};
        try {
            pthread_exit(nullptr);
        } catch (...) {
            const std::string text = Base::CaughtText();
            isCaught = true;
        }
    });
    thread.join();
    EXPECT_FALSE(isCaught);
    EXPECT_TRUE(isUnwound);
}

} // namespace
