#include "simulator/http/compression.h"
#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

bool Accepts(const std::vector<std::string>& offers)
{
    ZavSim::HttpRequest request;
    for (const std::string& offer : offers) {
        request.headers.emplace_back("accept-encoding", offer);
    }
    return ZavSim::AcceptsGzip(request);
}

TEST(CompressionTest, OfferOfGzipIsUnderstoodInEveryForm)
{
    for (const char* const offer : {"gzip", "GZIP", "br, gzip", "gzip;q=0.5", "br;q=1.0 , gzip ; q=0.001", "*",
                                    "identity, *;q=0.1", "gzip, *;q=0"}) {
        EXPECT_TRUE(Accepts({offer})) << offer;
    }
    EXPECT_TRUE(Accepts({"br", "gzip"})) << "repeated headers count as one list";
    for (const char* const offer :
         {"", "identity", "br", "gzip;q=0", "gzip; q=0.000", "*;q=0", "gzip;q=0, *", "gzipx"}) {
        EXPECT_FALSE(Accepts({offer})) << offer;
    }
    EXPECT_FALSE(Accepts({}));
}

class CompressedAnswerTest : public SimulationTest {
protected:
    CompressedAnswerTest()
    {
        Start();
        client = Client();
        client->Http().set_decompress(false); // the bytes as they came
    }

    httplib::Response Get(const std::string& acceptEncoding, const std::string& resource = "storagepool")
    {
        const httplib::Headers headers{
            {"Accept-Encoding", acceptEncoding}, {"Cookie", client->cookie}, {"iBaseToken", client->token}};
        const auto result = client->Http().Get("/deviceManager/rest/" + client->device + "/" + resource, headers);
        return result ? *result : httplib::Response();
    }

    std::string LastEncoding()
    {
        const Json::Value entries = Admin("GET", "journal").json["entries"];
        return entries[entries.size() - 1]["encoding"].asString();
    }

    std::unique_ptr<ArrayClient> client;
};

TEST_F(CompressedAnswerTest, AnswerIsGzipWhenAskedAndTheJournalTells)
{
    const httplib::Response plain = Get("identity");
    EXPECT_THAT(plain.body, StartsWith("{"));
    EXPECT_FALSE(plain.has_header("Content-Encoding"));
    EXPECT_EQ("", LastEncoding());

    const httplib::Response compressed = Get("gzip");
    EXPECT_EQ("gzip", compressed.get_header_value("Content-Encoding"));
    EXPECT_EQ("Accept-Encoding", compressed.get_header_value("Vary"));
    EXPECT_THAT(compressed.body, StartsWith("\x1f\x8b")) << "gzip's first bytes";
    EXPECT_LT(compressed.body.size(), plain.body.size());
    EXPECT_EQ("gzip", LastEncoding());

    client->Http().set_decompress(true);
    EXPECT_EQ(plain.body, Get("gzip").body);
}

TEST_F(CompressedAnswerTest, NoOtherEncodingIsUsed)
{
    EXPECT_FALSE(Get("br, deflate, gzip;q=0").has_header("Content-Encoding"));
}

TEST_F(CompressedAnswerTest, BodyOfAFaultIsCompressedAsAnyOther)
{
    Admin("POST", "faults", R"({"kind":"garbage"})");
    client->Http().set_decompress(true);
    const httplib::Response garbage = Get("gzip");
    EXPECT_EQ("gzip", garbage.get_header_value("Content-Encoding"));
    EXPECT_THAT(garbage.body, HasSubstr("not JSON"));
}

} // namespace
} // namespace ZavSimTest
