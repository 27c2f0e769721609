#include "tests/unit/rest/rest_test.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <random>

namespace {

using Parameters = std::map<std::string, std::string>;

class ZavRestApiQueryStringPropertyTest : public RestTest, public ::testing::WithParamInterface<unsigned int> {
protected:
    static constexpr int QUERIES = 2000;

    int Draw(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_random); }

    // Any bytes but those of `without`.
    std::string DrawText(const std::string& without)
    {
        std::string text;
        for (int left = Draw(12); left > 0; --left) {
            const char byte = static_cast<char>(Draw(4) == 0 ? Draw(256) : "=&?[-] %:aA09"[Draw(13)]);
            text += without.find(byte) == std::string::npos ? std::string(1, byte) : "";
        }
        return text;
    }

    Parameters DrawParameters()
    {
        Parameters parameters;
        for (int left = Draw(6); left > 0; --left) {
            parameters[DrawText("&=")] = DrawText("&");
        }
        return parameters;
    }

    std::mt19937 m_random{GetParam()};
};

TEST_P(ZavRestApiQueryStringPropertyTest, ToQueryStringIsTheParametersInKeyOrderAndNothingElse)
{
    for (int query = 0; query < QUERIES; ++query) {
        const Parameters parameters = DrawParameters();
        const std::string text = m_api.ToQueryString(parameters);
        if (parameters.empty()) {
            ASSERT_EQ("", text);
            continue;
        }
        std::vector<std::string> pieces;
        boost::split(pieces, text, boost::is_any_of("&"));
        std::vector<std::string> keys;
        Parameters found;
        for (const std::string& piece : pieces) {
            const std::size_t end = piece.find('=');
            ASSERT_NE(std::string::npos, end) << text;
            keys.push_back(piece.substr(0, end));
            found[keys.back()] = piece.substr(end + 1);
        }
        ASSERT_EQ(parameters, found);
        ASSERT_EQ(parameters.size(), keys.size());
        ASSERT_TRUE(std::is_sorted(keys.begin(), keys.end())) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Seed, ZavRestApiQueryStringPropertyTest, ::testing::Values(1U, 2U, 4294967295U),
                         ::testing::PrintToStringParamName());

} // namespace
