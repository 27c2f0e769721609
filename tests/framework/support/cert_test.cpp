#include "tests/framework/support/cert_test.h"

#include <json/reader.h>
#include <json/value.h>

#include <sstream>

std::vector<Alert> CertTest::Alerts(const std::string& fileName) const
{
    Json::Value root;
    std::istringstream(ReadText(AlertPath(fileName))) >> root;
    std::vector<Alert> alerts;
    for (const Json::Value& alert : root["alerts"]) {
        EXPECT_THAT(alert["time"].asString(), testing::MatchesRegex("20[0-9-]+T[0-9:]+Z"));
        alerts.push_back({alert["address"].asString(), alert["reason"].asString()});
    }
    return alerts;
}
