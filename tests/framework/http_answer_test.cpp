#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/http_exchange.h"
#include "tests/framework/support/probe.h"
#include "tests/framework/support/raw_server.h"
#include "tests/support/full_listener.h"

#include <sys/socket.h>
#include <zlib.h>

#include <chrono>
#include <stdexcept>
#include <string>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string Gzip(const std::string& text)
{
    constexpr int GZIP_WINDOW = 15 + 16;
    z_stream stream = {};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, GZIP_WINDOW, 8, Z_DEFAULT_STRATEGY);
    std::string packed(text.size() / 10 + 1000, '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<unsigned int>(text.size());
    stream.next_out = reinterpret_cast<unsigned char*>(packed.data());
    stream.avail_out = static_cast<unsigned int>(packed.size());
    const int result = deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::runtime_error("not packed");
    }
    return packed;
}

class HttpAnswerTest : public FrameworkTest {
protected:
    /// What the client makes of an answer, byte for byte.
    static boost::shared_ptr<QEN::IHttpResponse> Take(const std::string& answer)
    {
        const RawServer server(answer);
        return Get(server.Url("/a?token=secret"));
    }

    static std::string Whole(const std::string& body, const std::string& headers = "")
    {
        return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
};

TEST_F(HttpAnswerTest, SuccessCarriesStatusAndBody)
{
    const auto response = Take(Whole(std::string("body\0end", 8)));
    EXPECT_TRUE(response->IsSuccess());
    EXPECT_EQ(200, response->GetHttpStatusCode());
    EXPECT_EQ(0, response->IsNetworkError());
    EXPECT_EQ(std::string("body\0end", 8), response->GetBody());
    EXPECT_EQ("", response->GetHttpStatusText());
    EXPECT_EQ("", response->GetErrorText());
    EXPECT_THAT(response->GetCookies(), IsEmpty());
}

TEST_F(HttpAnswerTest, OnlyStatusesOfTheTwoHundredsAreSuccess)
{
    for (const int status : {200, 201, 204, 299}) {
        EXPECT_TRUE(Take("HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Length: 0\r\n\r\n")->IsSuccess());
    }
    for (const int status : {300, 302, 304, 400, 401, 404, 500, 599}) {
        const auto response = Take("HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Length: 0\r\n\r\n");
        EXPECT_FALSE(response->IsSuccess()) << status;
        EXPECT_EQ(0, response->IsNetworkError()) << status;
        EXPECT_EQ(status, response->GetHttpStatusCode());
    }
}

TEST_F(HttpAnswerTest, StatusTextNamesStatusAndRequestWithoutTheQuery)
{
    const RawServer server("HTTP/1.1 503 Service Unavailable\r\nContent-Length: 4\r\n\r\nbusy");
    const auto response = Get(server.Url("/a?token=secret"));
    EXPECT_EQ("HTTP status 503 (Service Unavailable) in answer to GET " + server.Url("/a"),
              response->GetHttpStatusText());
    EXPECT_EQ("busy", response->GetBody());
}

TEST_F(HttpAnswerTest, StatusWithoutAReasonIsNamedAsWell)
{
    for (const std::string line : {"HTTP/1.1 404", "HTTP/1.1 404 "}) {
        EXPECT_THAT(Take(line + "\r\nContent-Length: 0\r\n\r\n")->GetHttpStatusText(),
                    StartsWith("HTTP status 404 in answer to GET http://"));
    }
}

TEST_F(HttpAnswerTest, RedirectIsNotFollowed)
{
    const RawServer target(Whole("there"));
    const RawServer server("HTTP/1.1 302 Found\r\nLocation: " + target.Url("/") + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(302, Get(server.Url("/"))->GetHttpStatusCode());
    EXPECT_EQ(0U, target.ConnectionCount());
}

TEST_F(HttpAnswerTest, EachCookieIsOneText)
{
    const auto response = Take(Whole("", "Set-Cookie: b=2; Path=/; Secure\r\nset-cookie:a=1\r\nSET-COOKIE:  c=3 \r\n"
                                         "Set-Cookie: a=1\r\nX-Set-Cookie: no\r\n"));
    EXPECT_THAT(response->GetCookies(), ElementsAre("a=1", "b=2; Path=/; Secure", "c=3"));
}

TEST_F(HttpAnswerTest, InterimAnswerIsNotTheAnswer)
{
    const auto response =
        Take("HTTP/1.1 103 Early Hints\r\nSet-Cookie: early=1\r\n\r\n" + Whole("x", "Set-Cookie: a=1\r\n"));
    EXPECT_EQ(200, response->GetHttpStatusCode());
    EXPECT_THAT(response->GetCookies(), ElementsAre("a=1"));
}

TEST_F(HttpAnswerTest, ChunkedBodyIsPutTogether)
{
    EXPECT_EQ(
        "one two",
        Take("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\none \r\n3\r\ntwo\r\n0\r\n\r\n")->GetBody());
}

TEST_F(HttpAnswerTest, BodyWithoutALengthEndsWithTheConnection)
{
    EXPECT_EQ("all of it", Take("HTTP/1.1 200 OK\r\n\r\nall of it")->GetBody());
}

TEST_F(HttpAnswerTest, CutOffAnswersAreNetworkErrorsWithoutABody)
{
    for (const std::string answer : {
             "",
             "HTTP/1.1 200 O",
             "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n",
             "HTTP/1.1 200 OK\r\nSet-Cookie: a=1\r\nContent-Length: 10\r\n\r\n12345",
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n8\r\n12345",
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n12345\r\n",
         }) {
        const auto response = Take(answer);
        EXPECT_FALSE(response->IsSuccess()) << answer;
        EXPECT_NE(0, response->IsNetworkError()) << answer;
        EXPECT_EQ(0, response->GetHttpStatusCode()) << answer;
        EXPECT_EQ("", response->GetBody()) << answer;
        EXPECT_THAT(response->GetCookies(), IsEmpty()) << answer;
    }
}

TEST_F(HttpAnswerTest, AnswerThatIsNoHttpIsANetworkError)
{
    EXPECT_NE(0, Take("SSH-2.0-Server\r\n\r\n")->IsNetworkError());
}

TEST_F(HttpAnswerTest, ErrorTextNamesWhatFailedAndWhere)
{
    std::string url;
    {
        const RawServer server(Whole(""));
        url = server.Url("/path");
    }
    const auto refused = Get(url + "?token=secret");
    EXPECT_THAT(refused->GetErrorText(),
                AllOf(StartsWith("GET " + url + " failed: Failed to connect to 127.0.0.1 port "),
                      HasSubstr("Connection refused"), testing::EndsWith(" (libcurl 7)")));
}

TEST_F(HttpAnswerTest, ServerThatIsSilentIsGivenUpInTime)
{
    const RawServer server([](int socket) {
        ReadRequest(socket);
        char byte = 0;
        ::recv(socket, &byte, 1, 0); // until the client has hung up
    });
    const auto start = std::chrono::steady_clock::now();
    const auto response = Get(server.Url("/"), 1);
    EXPECT_THAT(response->GetErrorText(), HasSubstr("timed out after 1"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(HttpAnswerTest, ConnectionThatDoesNotComeAboutEndsAtItsOwnLimit)
{
    Configure({{"Http", {{"ConnectTimeoutSeconds", "1"}}}});
    const FullListener listener;            // no answer to the first packet
    const RawServer silent([](int socket) { // none to the handshake
        char byte = 0;
        while (::recv(socket, &byte, 1, 0) > 0) {
        }
    });
    for (const std::string& url : {listener.Url(), "https" + silent.Url("/").substr(4)}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_THAT(Get(url, 60)->GetErrorText(), HasSubstr("(libcurl 28)")) << url;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }
}

TEST_F(HttpAnswerTest, NameThatIsNeverResolvedIsGivenUpInTime)
{
    const Base::ProgramResult result = RunToEnd({ProbePath(), "dead-name-server"});
    EXPECT_THAT(result.output, StartsWith("GET http://unanswered.test/a failed: Resolving timed out after 1"));
    EXPECT_THAT(result.output, testing::EndsWith(" (libcurl 28)\nnot reached\n"));
    EXPECT_EQ(0, result.status) << result.errors;
}

TEST_F(HttpAnswerTest, TimeLimitOfZeroCountsAsOneSecond)
{
    const RawServer server([](int socket) {
        ReadRequest(socket);
        char byte = 0;
        ::recv(socket, &byte, 1, 0);
    });
    EXPECT_THAT(Get(server.Url("/"), 0)->GetErrorText(), HasSubstr("timed out after 1"));
}

TEST_F(HttpAnswerTest, CompressedBodyIsDecompressed)
{
    const std::string text = "{\"data\":\"" + std::string(1000, 'x') + "\"}";
    const RawServer server(Whole(Gzip(text), "Content-Encoding: gzip\r\n"));
    TMSHttpRequest request = Request("GET", server.Url("/"));
    request.headers = {{"Accept-Encoding", "gzip"}};
    EXPECT_EQ(text, QEN::IHttpClient::CreateClient()->SendRequest(request, 20)->GetBody());
}

TEST_F(HttpAnswerTest, CompressedBodyThatNobodyAskedForIsDecompressedAsWell)
{
    EXPECT_EQ("text", Take(Whole(Gzip("text"), "Content-Encoding: gzip\r\n"))->GetBody());
}

TEST_F(HttpAnswerTest, BrokenCompressionIsANetworkError)
{
    EXPECT_NE(0, Take(Whole("no gzip at all", "Content-Encoding: gzip\r\n"))->IsNetworkError());
}

TEST_F(HttpAnswerTest, BodyOfTheLimitArrivesAndOneByteMoreDoesNot)
{
    Configure({{"Http", {{"MaxBodyBytes", "100000"}}}});
    EXPECT_EQ(100'000U, Take(Whole(std::string(100'000, 'x')))->GetBody().size());

    const auto response = Take(Whole(std::string(100'001, 'x')));
    EXPECT_NE(0, response->IsNetworkError());
    EXPECT_EQ("", response->GetBody());
    EXPECT_THAT(response->GetErrorText(),
                HasSubstr("failed: the answer's body is longer than the 100000 bytes of [Http] MaxBodyBytes"));
}

TEST_F(HttpAnswerTest, LimitCountsTheBytesAfterDecompression)
{
    Configure({{"Http", {{"MaxBodyBytes", "1000000"}}}});
    const std::string bomb = Gzip(std::string(50'000'000, 'x'));
    ASSERT_LT(bomb.size(), 1'000'000U);
    const auto response = Take(Whole(bomb, "Content-Encoding: gzip\r\n"));
    EXPECT_THAT(response->GetErrorText(), HasSubstr("[Http] MaxBodyBytes"));
    EXPECT_EQ("", response->GetBody());
}

TEST_F(HttpAnswerTest, HeadWithoutAnEndIsCutOff)
{
    const RawServer server([](int socket) {
        ReadRequest(socket);
        SendText(socket, "HTTP/1.1 200 OK\r\n");
        for (int line = 0; line < 100'000; ++line) {
            SendText(socket, "X-Header: " + std::string(1000, 'x') + "\r\n");
        }
    });
    EXPECT_THAT(Get(server.Url("/"))->GetErrorText(), HasSubstr("the answer's head is longer than 262144 bytes"));
}

} // namespace
