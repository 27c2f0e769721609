#include "simulator/http/compression.h"
#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

#define ZLIB_CONST // input that stays as it is
#include <zlib.h>

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

std::string Gunzip(const std::string& compressed)
{
    constexpr int GZIP_WINDOW = 15 + 16;
    z_stream stream = {};
    EXPECT_EQ(Z_OK, inflateInit2(&stream, GZIP_WINDOW));
    std::string text(1 << 16, '\0'); // more than any answer here
    stream.next_in = reinterpret_cast<const Bytef*>(compressed.data());
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    EXPECT_EQ(Z_STREAM_END, inflate(&stream, Z_FINISH));
    text.resize(stream.total_out);
    inflateEnd(&stream);
    return text;
}

class CompressedAnswerTest : public SimulationTest {
protected:
    CompressedAnswerTest()
    {
        Start();
        client = Client();
    }

    /// With the bytes as they came.
    HttpReply Get(const std::string& acceptEncoding, const std::string& resource = "storagepool")
    {
        return client->Http().Send(
            "GET", "/deviceManager/rest/" + client->device + "/" + resource,
            {{"Accept-Encoding", acceptEncoding}, {"Cookie", client->cookie}, {"iBaseToken", client->token}});
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
    const HttpReply plain = Get("identity");
    EXPECT_THAT(plain.body, StartsWith("{"));
    EXPECT_FALSE(plain.Has("Content-Encoding"));
    EXPECT_EQ("", LastEncoding());

    const HttpReply compressed = Get("gzip");
    EXPECT_EQ("gzip", compressed.Header("Content-Encoding"));
    EXPECT_EQ("Accept-Encoding", compressed.Header("Vary"));
    EXPECT_THAT(compressed.body, StartsWith("\x1f\x8b")) << "gzip's first bytes";
    EXPECT_LT(compressed.body.size(), plain.body.size());
    EXPECT_EQ("gzip", LastEncoding());

    EXPECT_EQ(plain.body, Gunzip(compressed.body));
}

TEST_F(CompressedAnswerTest, NoOtherEncodingIsUsed)
{
    EXPECT_FALSE(Get("br, deflate, gzip;q=0").Has("Content-Encoding"));
}

TEST_F(CompressedAnswerTest, BodyOfAFaultIsCompressedAsAnyOther)
{
    Admin("POST", "faults", R"({"kind":"garbage"})");
    const HttpReply garbage = Get("gzip");
    EXPECT_EQ("gzip", garbage.Header("Content-Encoding"));
    EXPECT_THAT(Gunzip(garbage.body), HasSubstr("not JSON"));
}

} // namespace
} // namespace ZavSimTest
