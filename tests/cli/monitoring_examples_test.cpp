#include "cli/watch/round_metrics.h"
#include "tests/support/exposition_reader.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <json/reader.h>

#include <regex>
#include <set>
#include <sstream>
#include <utility>

using ::testing::IsSubsetOf;

namespace {

/// The dashboard and the alerts beside the tree, and what zavctl writes.
class MonitoringExamplesTest : public ::testing::Test {
protected:
    using Names = std::set<std::string>;

    /// All names of ours in a text.
    static Names NamesIn(const std::string& text)
    {
        const std::regex name("product_storage_[a-z_]+");
        Names names;
        for (std::sregex_iterator each(text.begin(), text.end(), name), end; each != end; ++each) {
            names.insert(each->str());
        }
        return names;
    }

    static std::string Example(const std::string& name) { return ReadText(std::string(SOURCE_DIRECTORY) + "/" + name); }

    static ExpositionReader Written()
    {
        RoundMetrics metrics(60);
        metrics.Add(
            {1000, 1, {{"env.json", {}, "view 1", RoundMetrics::ArrayResult::Array{"url", "key", 1, {{1, 0}}}}}});
        return ExpositionReader(metrics.Text());
    }

    static Names Samples()
    {
        Names names;
        const ExpositionReader written = Written();
        for (const auto& [name, samples] : written.Samples()) {
            names.insert(name);
        }
        return names;
    }

    static Names Families()
    {
        Names names;
        const ExpositionReader written = Written();
        for (const auto& [name, type] : written.Types()) {
            names.insert(name);
        }
        return names;
    }

    static Json::Value Dashboard()
    {
        Json::Value board;
        std::istringstream text(Example("examples/grafana/product-storage.json"));
        std::string errors;
        EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), text, &board, &errors)) << errors;
        return board;
    }

    static std::string Queries()
    {
        std::string queries;
        const Json::Value board = Dashboard();
        for (const Json::Value& panel : board["panels"]) {
            for (const Json::Value& target : panel["targets"]) {
                queries += target["expr"].asString() + "\n";
            }
        }
        return queries;
    }
};

TEST_F(MonitoringExamplesTest, WhatTheyNameIsWritten)
{
    EXPECT_THAT(NamesIn(Example("examples/grafana/product-storage.json")), IsSubsetOf(Samples()));
    EXPECT_THAT(NamesIn(Example("examples/prometheus/product-storage.rules.yml")), IsSubsetOf(Samples()));
    EXPECT_THAT(NamesIn(Example("examples/prometheus/product-storage.tests.yml")), IsSubsetOf(Samples()));
    EXPECT_THAT(NamesIn(Example("examples/prometheus/product-storage.rules.yml")).size(), testing::Gt(7U));
}

TEST_F(MonitoringExamplesTest, EachMetricIsShownOnTheDashboard)
{
    const std::string queries = Queries();
    for (const std::string& name : Families()) {
        EXPECT_NE(std::string::npos, queries.find(name)) << name;
    }
}

TEST_F(MonitoringExamplesTest, PageTellsOfEachMetricAndEachAlert)
{
    const std::string page = Example("docs/monitoring.md");
    for (const std::string& name : Families()) {
        EXPECT_NE(std::string::npos, page.find("| `" + name)) << name;
    }
    const std::string rules = Example("examples/prometheus/product-storage.rules.yml");
    const std::regex alert("alert: (\\w+)");
    for (std::sregex_iterator each(rules.begin(), rules.end(), alert), end; each != end; ++each) {
        EXPECT_NE(std::string::npos, page.find("| `" + (*each)[1].str() + "`")) << (*each)[1];
        const std::string tests = Example("examples/prometheus/product-storage.tests.yml");
        EXPECT_NE(std::string::npos, tests.find("alertname: " + (*each)[1].str())) << (*each)[1] << " is not tested";
    }
}

TEST_F(MonitoringExamplesTest, DashboardStandsOnItsVariablesAlone)
{
    const Json::Value board = Dashboard();
    EXPECT_TRUE(board["id"].isNull()) << "it is an installation's own";
    EXPECT_TRUE(board["schemaVersion"].isInt());
    EXPECT_EQ("datasource", board["templating"]["list"][0]["name"].asString());
    EXPECT_EQ("node", board["templating"]["list"][1]["name"].asString());
    EXPECT_EQ(std::string::npos, Example("examples/grafana/product-storage.json").find("://"));
    for (const Json::Value& panel : board["panels"]) {
        EXPECT_EQ("${datasource}", panel["datasource"]["uid"].asString()) << panel["title"].asString();
        for (const Json::Value& target : panel["targets"]) {
            EXPECT_EQ("${datasource}", target["datasource"]["uid"].asString()) << panel["title"].asString();
            EXPECT_NE(std::string::npos, target["expr"].asString().find("instance=~\"$node\""))
                << panel["title"].asString();
        }
    }
}

TEST_F(MonitoringExamplesTest, PanelsLieBesideEachOther)
{
    std::set<std::pair<int, int>> taken;
    std::set<int> ids;
    const Json::Value board = Dashboard();
    for (const Json::Value& panel : board["panels"]) {
        EXPECT_TRUE(ids.insert(panel["id"].asInt()).second) << panel["title"].asString();
        EXPECT_FALSE(panel["description"].asString().empty()) << panel["title"].asString();
        const Json::Value& place = panel["gridPos"];
        EXPECT_LE(place["x"].asInt() + place["w"].asInt(), 24) << panel["title"].asString();
        for (int x = 0; x < place["w"].asInt(); ++x) {
            for (int y = 0; y < place["h"].asInt(); ++y) {
                EXPECT_TRUE(taken.emplace(place["x"].asInt() + x, place["y"].asInt() + y).second)
                    << panel["title"].asString();
            }
        }
    }
}

} // namespace
