#include "simulator/faults/fault_kinds.h"
#include "simulator/faults/fault_plan.h"

#include "simulator/json/json_io.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZavSim {
namespace {

using ::testing::HasSubstr;

std::string ComplaintOf(const std::string& text)
{
    try {
        FaultFromText(text);
        return "";
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
}

TEST(FaultTest, ParseReadsEveryMember)
{
    const Fault fault = FaultFromText(
        R"({"kind":"code","code":-401,"description":"d","method":"PUT","target":"view","count":3,"probability":0.5})");
    EXPECT_STREQ("code", fault.kind->word);
    EXPECT_EQ(-401, fault.code);
    EXPECT_EQ("d", fault.description);
    EXPECT_EQ("PUT", fault.method);
    EXPECT_EQ("view", fault.targetText);
    EXPECT_EQ(3U, fault.count);
    EXPECT_EQ(0.5, fault.probability);
    EXPECT_EQ(std::chrono::milliseconds(20), FaultFromText(R"({"kind":"delay","milliseconds":20})").duration);
    EXPECT_EQ(503, FaultFromText(R"({"kind":"status","status":503})").status);
    EXPECT_EQ(std::nullopt, fault.result);
    EXPECT_EQ(2, FaultFromText(R"({"kind":"code","code":1,"result":2})").result);
    EXPECT_EQ("[7]", WriteJson(FaultFromText(R"({"kind":"answer","answer":[7]})").answer));
}

TEST(FaultTest, ParseRefusesWhatItDoesNotUnderstandAndNamesIt)
{
    EXPECT_THAT(ComplaintOf("x"), HasSubstr("not JSON"));
    EXPECT_THAT(ComplaintOf("[]"), HasSubstr("object"));
    EXPECT_THAT(ComplaintOf("{}"), HasSubstr("kind"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"fire"})"), HasSubstr("\"fire\""));
    EXPECT_THAT(ComplaintOf(R"({"kind":"code"})"), HasSubstr("code: missing"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"code","code":"1"})"), HasSubstr("code: not a whole number"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"status","status":99})"), HasSubstr("status: not a whole number from 200"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"delay"})"), HasSubstr("milliseconds: missing"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","code":1})"), HasSubstr("code: a fault of kind \"drop\""));
    EXPECT_THAT(ComplaintOf(R"({"kind":"code","code":1,"result":3})"), HasSubstr("result: not a whole number from 1"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","result":1})"), HasSubstr("result: a fault of kind \"drop\""));
    EXPECT_THAT(ComplaintOf(R"({"kind":"answer"})"), HasSubstr("answer: missing"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"code","code":1,"answer":{}})"), HasSubstr("answer: a fault of kind"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","tarket":"x"})"), HasSubstr("tarket"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","method":7})"), HasSubstr("method: not a text"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drip"})"), HasSubstr("milliseconds: missing"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"cut","bytes":1})"), HasSubstr("bytes: a fault of kind \"cut\""));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","target":"("})"), HasSubstr("regular expression"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","probability":0})"), HasSubstr("probability"));
    EXPECT_THAT(ComplaintOf(R"({"kind":"drop","count":-1})"), HasSubstr("count"));
}

TEST(FaultTest, JsonOfAFaultIsReadAsTheSameFault)
{
    for (const char* const text :
         {R"({"code":5,"count":1,"description":"d","kind":"code","probability":1.0,"result":2})",
          R"({"answer":{"result":1},"count":0,"kind":"answer","method":"GET","probability":0.5,"target":"a"})",
          R"({"answer":null,"count":1,"kind":"answer","probability":1.0})",
          R"({"bytes":-3,"count":1,"kind":"wrong-length","probability":1.0})",
          R"({"count":1,"kind":"drip","milliseconds":0,"probability":1.0})"}) {
        EXPECT_EQ(text, WriteJson(FaultToJson(FaultFromText(text))));
    }
}

class FaultPlanTest : public ::testing::Test {
protected:
    bool Hits(const std::string& method, const std::string& target) { return plan.Draw(method, target).has_value(); }

    FaultPlan plan{7};
};

TEST_F(FaultPlanTest, DrawHitsTheNextRequestsThatMatchAndNoMore)
{
    plan.Add(FaultFromText(R"({"kind":"drop","method":"PUT","target":"^/a/[0-9]+$","count":2})"));
    EXPECT_FALSE(Hits("GET", "/a/1"));
    EXPECT_FALSE(Hits("PUT", "/a/x"));
    EXPECT_TRUE(Hits("PUT", "/a/1"));
    EXPECT_TRUE(Hits("PUT", "/a/22"));
    EXPECT_FALSE(Hits("PUT", "/a/1"));
    EXPECT_EQ(0U, plan.List().size());
}

TEST_F(FaultPlanTest, DrawTakesTheFirstThatMatches)
{
    plan.Add(FaultFromText(R"({"kind":"status","status":500})"));
    plan.Add(FaultFromText(R"({"kind":"status","status":502})"));
    EXPECT_EQ(500, plan.Draw("GET", "/")->status);
    EXPECT_EQ(502, plan.Draw("GET", "/")->status);
}

TEST_F(FaultPlanTest, PatternThatOthersChokeOnTakesNoTime)
{
    plan.Add(FaultFromText(R"({"kind":"drop","target":"^(a+)+$","count":0})"));
    EXPECT_FALSE(Hits("GET", std::string(100000, 'a') + "!"));
    EXPECT_TRUE(Hits("GET", std::string(100000, 'a')));
}

TEST_F(FaultPlanTest, SkipLetsAsManyThroughThatMatch)
{
    plan.Add(FaultFromText(R"({"kind":"drop","method":"POST","skip":2})"));
    EXPECT_EQ(2, plan.List()[0]["skip"].asInt());
    EXPECT_FALSE(Hits("POST", "/a"));
    EXPECT_FALSE(Hits("GET", "/a")) << "of another method, and not counted";
    EXPECT_FALSE(Hits("POST", "/b"));
    EXPECT_TRUE(Hits("POST", "/c"));
    EXPECT_FALSE(Hits("POST", "/d"));
}

TEST_F(FaultPlanTest, CountZeroLastsUntilItIsRemoved)
{
    const std::uint64_t number = plan.Add(FaultFromText(R"({"kind":"drop","count":0})"));
    for (int i = 0; i < 50; ++i) {
        EXPECT_TRUE(Hits("GET", "/"));
    }
    EXPECT_EQ(50, plan.List()[0]["hits"].asInt());
    EXPECT_TRUE(plan.Remove(number));
    EXPECT_FALSE(plan.Remove(number));
    EXPECT_FALSE(Hits("GET", "/"));
}

TEST_F(FaultPlanTest, ProbabilityFollowsTheSeed)
{
    const auto pattern = [](std::uint64_t seed) {
        FaultPlan seeded(seed);
        seeded.Add(FaultFromText(R"({"kind":"drop","count":0,"probability":0.25})"));
        std::string hits;
        for (int i = 0; i < 400; ++i) {
            hits += seeded.Draw("GET", "/") ? 'x' : '.';
        }
        return hits;
    };
    const std::string first = pattern(1);
    EXPECT_EQ(first, pattern(1));
    EXPECT_NE(first, pattern(2));
    const auto hits = std::count(first.begin(), first.end(), 'x');
    EXPECT_GT(hits, 60);
    EXPECT_LT(hits, 140);
}

} // namespace
} // namespace ZavSim
