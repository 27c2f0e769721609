#include "cli/watch/round_metrics.h"
#include "tests/support/exposition_reader.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Key;
using ::testing::Not;

namespace {

using Result = RoundMetrics::ArrayResult;

Result Prepared(const std::string& environment, const std::string& mapping = "view 1")
{
    return {environment, {}, mapping, Result::Array{"https://10.20.0.1:8088", "2102350000", 2, {{1, 1}}}};
}

Result Failed(const std::string& environment, ExitCode failure)
{
    return {environment, failure, "", {}};
}

double Of(const RoundMetrics& metrics, const std::string& name, const ExpositionReader::Labels& labels = {})
{
    return ExpositionReader(metrics.Text()).Value("product_storage_" + name, labels);
}

TEST(RoundMetricsTest, PreparedArrayIsToldWithAllThatIsKnown)
{
    RoundMetrics metrics(60);
    metrics.Add({1000, 0.75, {Prepared("env.json")}});
    const ExpositionReader read(metrics.Text());
    const ExpositionReader::Labels labels = {{"environment", "env.json"}};
    EXPECT_EQ(1, Of(metrics, "prepared", labels));
    EXPECT_EQ(0, Of(metrics, "drift", labels));
    EXPECT_EQ(1000, Of(metrics, "last_success_timestamp_seconds", labels));
    EXPECT_EQ(1000, Of(metrics, "last_round_timestamp_seconds"));
    EXPECT_EQ(0.75, Of(metrics, "last_round_duration_seconds"));
    EXPECT_EQ(60, Of(metrics, "watch_interval_seconds"));
    EXPECT_EQ(2, Of(metrics, "service_addresses", labels));
    EXPECT_EQ(1, Of(metrics, "iscsi_sessions", {{"environment", "env.json"}, {"state", "up"}}));
    EXPECT_EQ(1, Of(metrics, "iscsi_sessions", {{"environment", "env.json"}, {"state", "down"}}));
    EXPECT_EQ(1, Of(metrics, "array_info",
                    {{"environment", "env.json"}, {"url", "https://10.20.0.1:8088"}, {"device_key", "2102350000"}}));
}

TEST(RoundMetricsTest, FailuresAreCountedByCauseAndAllCausesStandFromTheStart)
{
    RoundMetrics metrics({});
    metrics.Add({1000, 1, {Prepared("a.json"), Failed("b.json", ExitCode::Unreachable)}});
    metrics.Add({1060, 1, {Failed("a.json", ExitCode::Drift), Failed("b.json", ExitCode::Unreachable)}});
    const auto count = [&](const std::string& environment, const std::string& cause) {
        return Of(metrics, "failures_total", {{"environment", environment}, {"cause", cause}});
    };
    EXPECT_EQ(1, count("a.json", "drift"));
    EXPECT_EQ(0, count("a.json", "unreachable"));
    EXPECT_EQ(2, count("b.json", "unreachable"));
    for (const std::string cause :
         {"not_found", "foreign", "login_refused", "unusable", "refused", "no_permission", "internal"}) {
        EXPECT_EQ(0, count("b.json", cause)) << cause;
    }
    EXPECT_EQ(0, Of(metrics, "prepared", {{"environment", "a.json"}}));
    EXPECT_EQ(1, Of(metrics, "drift", {{"environment", "a.json"}}));
    EXPECT_EQ(0, Of(metrics, "drift", {{"environment", "b.json"}}));
    EXPECT_EQ(1000, Of(metrics, "last_success_timestamp_seconds", {{"environment", "a.json"}}));
    EXPECT_EQ(0, Of(metrics, "last_success_timestamp_seconds", {{"environment", "b.json"}})) << "none yet";
}

TEST(RoundMetricsTest, CauseOfTheLastRoundStandsUntilAnotherRoundSaysOtherwise)
{
    RoundMetrics metrics(60);
    const auto causes = [&metrics](const std::string& environment) {
        std::vector<std::string> standing;
        const ExpositionReader read(metrics.Text());
        for (const std::string cause : {"not_found", "foreign", "login_refused", "unusable", "unreachable", "refused",
                                        "drift", "no_permission", "internal"}) {
            const double value =
                read.Value("product_storage_unprepared", {{"environment", environment}, {"cause", cause}});
            EXPECT_THAT(value, testing::AnyOf(0, 1)) << cause;
            if (value == 1) {
                standing.push_back(cause);
            }
        }
        return standing;
    };
    metrics.Add({1000, 1, {Failed("a.json", ExitCode::LoginRefused), Prepared("b.json")}});
    EXPECT_THAT(causes("a.json"), ElementsAre("login_refused")) << "told by the first round already";
    EXPECT_THAT(causes("b.json"), ElementsAre());
    metrics.Add({1060, 1, {Failed("a.json", ExitCode::Unreachable), Failed("b.json", ExitCode::Drift)}});
    EXPECT_THAT(causes("a.json"), ElementsAre("unreachable"));
    EXPECT_THAT(causes("b.json"), ElementsAre("drift"));
    metrics.Add({1120, 1, {Prepared("a.json"), Failed("b.json", ExitCode::Usage)}});
    EXPECT_THAT(causes("a.json"), ElementsAre());
    EXPECT_THAT(causes("b.json"), ElementsAre("internal")) << "of a code that is in no list";
}

TEST(RoundMetricsTest, ArrayOfWhichNothingIsKnownYetHasNoSessions)
{
    RoundMetrics metrics(60);
    metrics.Add({1000, 1, {Failed("a.json", ExitCode::LoginRefused)}});
    const ExpositionReader read(metrics.Text());
    EXPECT_THAT(read.Samples(), Not(testing::Contains(Key("product_storage_iscsi_sessions"))));
    EXPECT_THAT(read.Samples(), Not(testing::Contains(Key("product_storage_array_info"))));
}

TEST(RoundMetricsTest, OtherObjectsThanBeforeAreARebuild)
{
    RoundMetrics metrics(60);
    const auto rebuilds = [&] { return Of(metrics, "rebuilds_total", {{"environment", "a.json"}}); };
    metrics.Add({1000, 1, {Prepared("a.json", "view 1")}});
    metrics.Add({1060, 1, {Prepared("a.json", "view 1")}});
    EXPECT_EQ(0, rebuilds());
    metrics.Add({1120, 1, {Failed("a.json", ExitCode::Unreachable)}});
    EXPECT_EQ(0, rebuilds()) << "nothing is known of it";
    metrics.Add({1180, 1, {Prepared("a.json", "view 2")}});
    EXPECT_EQ(1, rebuilds());
}

TEST(RoundMetricsTest, RoundsAreSpreadOverBucketsByTheirLength)
{
    RoundMetrics metrics({});
    for (const double seconds : {0.1, 0.5, 7.0, 1000.0}) {
        metrics.Add({1000, seconds, {}});
    }
    const auto within = [&](const std::string& bound) {
        return Of(metrics, "round_duration_seconds_bucket", {{"le", bound}});
    };
    EXPECT_EQ(2, within("0.5"));
    EXPECT_EQ(2, within("5"));
    EXPECT_EQ(3, within("10"));
    EXPECT_EQ(3, within("300"));
    EXPECT_EQ(4, within("+Inf"));
    EXPECT_NEAR(1007.6, Of(metrics, "round_duration_seconds_sum"), 0.001);
}

TEST(RoundMetricsTest, OneInitHasNoInterval)
{
    RoundMetrics metrics({});
    metrics.Add({1000, 1, {Prepared("a.json")}});
    EXPECT_THAT(metrics.Text(), Not(HasSubstr("watch_interval")));
}

TEST(RoundMetricsTest, NamesOfAnyFormStandInLabels)
{
    const std::string odd = "it \"is\"\\\n\xff\xe2\x82\xac{},=.json";
    RoundMetrics metrics(60);
    metrics.Add({1000, 1, {Prepared(odd)}});
    EXPECT_EQ(1, Of(metrics, "prepared", {{"environment", "it \"is\"\\\\x0a\\xff\xe2\x82\xac{},=.json"}}));
}

TEST(ExpositionReaderTest, WhatBreaksTheFormatIsRefused)
{
    const std::string head = "# HELP a A.\n# TYPE a gauge\n";
    EXPECT_NO_THROW(ExpositionReader(head + "a{b=\"c\"} 1\na 2.5\n"));
    for (const std::string text : {"a 1\n", "a{b=\"c\"} 1\na{b=\"c\"} 2\n", "a{b=\"c} 1\n", "a{b=c} 1\n", "a 1",
                                   "a x\n", "b 1\n", "a 1\n\na 2\n", "# HELP a A.\n", "a{b=\"c\",b=\"d\"} 1\n"}) {
        EXPECT_THROW(ExpositionReader(text == "a 1\n" ? text : head + text), std::runtime_error) << text;
    }
    EXPECT_THROW(ExpositionReader("# HELP a A.\n# TYPE a counter\na 1\n"), std::runtime_error);
    EXPECT_THROW(ExpositionReader("# TYPE a gauge\na 1\n"), std::runtime_error);
}

} // namespace
