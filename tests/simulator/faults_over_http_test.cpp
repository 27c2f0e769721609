#include "tests/simulator/support/raw_connection.h"
#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

#include <ctime>
#include <future>

namespace ZavSimTest {
namespace {

using ZavSim::Code;

class FaultsOverHttpTest : public SimulationTest {
protected:
    FaultsOverHttpTest()
    {
        Start();
        client = Client();
    }

    void Inject(const std::string& fault)
    {
        const Reply reply = Admin("POST", "faults", fault);
        ASSERT_EQ(200, reply.status) << reply.body;
    }

    Json::Value LastEntry()
    {
        const Json::Value entries = Admin("GET", "journal").json["entries"];
        return entries[entries.size() - 1];
    }

    /// The answer to a query, as far as it comes.
    HttpReply Count()
    {
        return client->Http().Send("GET", "/deviceManager/rest/" + client->device + "/lun/count",
                                   {{"Cookie", client->cookie}, {"iBaseToken", client->token}});
    }

    bool HasHost() { return Admin("GET", "objects").json["host"].size() == 1; }

    std::unique_ptr<ArrayClient> client;
    const std::string host = R"({"NAME":"h","TYPE":"21"})";
};

TEST_F(FaultsOverHttpTest, CodeIsAnsweredInTheEnvelopeAndNothingIsDone)
{
    Inject(R"({"kind":"code","code":1090519044,"description":"busy","method":"POST","target":"/host$"})");
    const Reply reply = client->Post("host", host);
    EXPECT_EQ(200, reply.status);
    EXPECT_CODE(1090519044, reply);
    EXPECT_EQ("busy", reply.json["error"]["description"].asString());
    EXPECT_FALSE(HasHost());
    EXPECT_EQ("code", LastEntry()["fault"].asString());
    EXPECT_CODE(Code::Success, client->Post("host", host)) << "one request only";
}

TEST_F(FaultsOverHttpTest, AnswerIsSentAsItIsAndNothingIsDone)
{
    Inject(R"({"kind":"answer","answer":{"error":7},"method":"POST"})");
    const Reply reply = client->Post("host", host);
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ(R"({"error":7})", reply.body);
    EXPECT_FALSE(HasHost());
    EXPECT_FALSE(LastEntry().isMember("code")) << "the simulator does not know what it means";
}

TEST_F(FaultsOverHttpTest, StatusIsAnsweredAndNothingIsDone)
{
    Inject(R"({"kind":"status","status":503})");
    EXPECT_EQ(503, client->Post("host", host).status);
    EXPECT_FALSE(HasHost());
    EXPECT_EQ(503, LastEntry()["status"].asInt());
}

TEST_F(FaultsOverHttpTest, DropEndsTheConnectionBeforeAnythingIsDone)
{
    Inject(R"({"kind":"drop"})");
    EXPECT_EQ(0, client->Post("host", host).status);
    EXPECT_FALSE(HasHost());
    EXPECT_EQ(0, LastEntry()["status"].asInt());
    EXPECT_CODE(Code::Success, client->Post("host", host)) << "a new connection works";
}

TEST_F(FaultsOverHttpTest, DropAnswerEndsTheConnectionAfterItIsDone)
{
    Inject(R"({"kind":"drop-answer"})");
    EXPECT_EQ(0, client->Post("host", host).status);
    EXPECT_TRUE(HasHost());
    EXPECT_CODE(Code::NameTaken, client->Post("host", host));
}

TEST_F(FaultsOverHttpTest, CutSendsHalfOfTheBody)
{
    Inject(R"({"kind":"cut"})");
    const HttpReply reply = Count();
    EXPECT_FALSE(reply.isWhole);
    const std::string whole = client->Get("lun/count").body;
    EXPECT_EQ(whole.substr(0, whole.size() / 2), reply.body);
}

TEST_F(FaultsOverHttpTest, ResetBeforeTheAnswerIsSeenAsOneAndNothingIsDone)
{
    Inject(R"({"kind":"reset","method":"POST"})");
    const HttpReply reply = client->Http().Send("POST", "/deviceManager/rest/" + client->device + "/host",
                                                {{"Cookie", client->cookie}, {"iBaseToken", client->token}}, host);
    EXPECT_EQ(0, reply.status);
    EXPECT_EQ("Connection reset by peer", reply.problem);
    EXPECT_FALSE(HasHost());
}

TEST_F(FaultsOverHttpTest, ResetInTheAnswerComesBehindHalfOfTheBody)
{
    Inject(R"({"kind":"reset-in-answer"})");
    const HttpReply reply = Count();
    EXPECT_FALSE(reply.isWhole);
    EXPECT_EQ("Connection reset by peer", reply.problem);
    const std::string whole = client->Get("lun/count").body;
    EXPECT_EQ(whole.substr(0, whole.size() / 2), reply.body);
}

TEST_F(FaultsOverHttpTest, ResetBehindTheAnswerLeavesTheAnswerWhole)
{
    Inject(R"({"kind":"reset-after-answer"})");
    EXPECT_CODE(Code::Success, client->Post("host", host));
    EXPECT_TRUE(HasHost());
    EXPECT_CODE(Code::Success, Client()->Get("lun/count")) << "a new connection works";
}

TEST_F(FaultsOverHttpTest, WrongLengthHasTheClientWaitForMoreThanComes)
{
    Inject(R"({"kind":"wrong-length"})");
    client->Http().SetTimeout(std::chrono::milliseconds(200));
    const HttpReply reply = Count();
    EXPECT_FALSE(reply.isWhole);
    EXPECT_EQ(std::to_string(reply.body.size() + 1), reply.Header("Content-Length"));
}

TEST_F(FaultsOverHttpTest, LengthBelowTheRealOneLeavesTheRestInTheWay)
{
    const std::string whole = client->Get("lun/count").body;
    Inject(R"({"kind":"wrong-length","bytes":-5})");
    const HttpReply reply = Count();
    EXPECT_TRUE(reply.isWhole);
    EXPECT_EQ(whole.substr(0, whole.size() - 5), reply.body);
}

TEST_F(FaultsOverHttpTest, DripBringsTheAnswerInPieces)
{
    Inject(R"({"kind":"drip","milliseconds":5,"bytes":20})");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_CODE(Code::Success, client->Get("lun/count"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(5 * 5)); // of more than 120 bytes
}

TEST_F(FaultsOverHttpTest, GarbageIsNoJson)
{
    Inject(R"({"kind":"garbage"})");
    const Reply reply = client->Post("host", host);
    EXPECT_EQ(200, reply.status);
    EXPECT_TRUE(reply.json.isNull()) << reply.body;
    EXPECT_TRUE(HasHost());
}

TEST_F(FaultsOverHttpTest, NoCookieLeavesTheRestOfTheAnswerAlone)
{
    client->Post("host", host);
    client->Post("iscsi_initiator", R"({"ID":"iqn.x","TYPE":"222"})");
    Inject(R"({"kind":"no-cookie","method":"PUT"})");
    const std::string body = R"({"TYPE":"222","ID":"iqn.x","PARENTTYPE":"21","PARENTID":"1"})";
    const Reply reply = client->Put("iscsi_initiator/add_iscsi_to_host", body);
    EXPECT_CODE(Code::Success, reply);
    EXPECT_EQ("", reply.Cookie());
    EXPECT_NE("", client->Put("iscsi_initiator/remove_iscsi_from_host", R"({"TYPE":"222","ID":"iqn.x"})").Cookie());
}

TEST_F(FaultsOverHttpTest, ClockTellsATimeThatIsAhead)
{
    const auto secondsAhead = [](const HttpReply& reply) {
        std::tm parts = {};
        EXPECT_NE(nullptr, ::strptime(reply.Header("Date").c_str(), "%a, %d %b %Y %H:%M:%S GMT", &parts));
        return ::timegm(&parts) - std::time(nullptr);
    };
    EXPECT_NEAR(0, static_cast<double>(secondsAhead(Count())), 30);
    Inject(R"({"kind":"clock","milliseconds":600000})");
    EXPECT_NEAR(600, static_cast<double>(secondsAhead(Count())), 30);
}

TEST_F(FaultsOverHttpTest, DelayAnswersLaterAndInFull)
{
    Inject(R"({"kind":"delay","milliseconds":150})");
    EXPECT_CODE(Code::Success, client->Post("host", host));
    EXPECT_GE(LastEntry()["durationMs"].asInt(), 150);
    EXPECT_EQ("delay", LastEntry()["fault"].asString());
}

TEST_F(FaultsOverHttpTest, SilentNeverAnswersUntilTheClientGivesUp)
{
    Inject(R"({"kind":"silent"})");
    client->Http().SetTimeout(std::chrono::milliseconds(200));
    EXPECT_EQ(0, client->Get("lun/count").status);
    client->Http().SetTimeout(std::chrono::seconds(20));
    EXPECT_CODE(Code::Success, client->Get("lun/count"));
}

TEST_F(FaultsOverHttpTest, SilentForATimeThenDropsTheConnection)
{
    Inject(R"({"kind":"silent","milliseconds":100})");
    EXPECT_EQ(0, client->Get("lun/count").status);
    EXPECT_GE(LastEntry()["durationMs"].asInt(), 100);
}

TEST_F(FaultsOverHttpTest, SilenceDoesNotKeepTheSimulatorFromEnding)
{
    Inject(R"({"kind":"silent"})");
    auto waiting = std::async(std::launch::async, [this] { return client->Get("lun/count").status; });
    while (Admin("GET", "journal").json["entries"].size() < 2) { // until the request has come in
        std::this_thread::yield();
    }
    simulation.reset();
    EXPECT_EQ(0, waiting.get());
}

struct TlsEnd {
    const char* fault;
    const char* problem;
};

class TlsEndTest : public FaultsOverHttpTest, public ::testing::WithParamInterface<TlsEnd> {};

// The library's words for what follows a goodbye, and for an end without one.
INSTANTIATE_TEST_SUITE_P(Ends, TlsEndTest,
                         ::testing::Values(TlsEnd{"cut", "partial message"}, TlsEnd{"tls-cut", "stream truncated"}));

TEST_P(TlsEndTest, CutOverTlsComesWithAGoodbyeOrWithout)
{
    options.listen = {{true, "127.0.0.1", 0}, {false, "127.0.0.1", 0}};
    Start();
    client = std::make_unique<ArrayClient>(Url(0));
    EXPECT_CODE(Code::Success, client->Login());
    ArrayClient(Url(1)).Raw("POST", "/zavsim/faults", std::string(R"({"kind":")") + GetParam().fault + "\"}");
    const HttpReply reply = Count();
    EXPECT_EQ(200, reply.status);
    EXPECT_FALSE(reply.isWhole);
    EXPECT_EQ(GetParam().problem, reply.problem);
}

TEST_F(FaultsOverHttpTest, FaultsOfTheCommandLineAreInForceFromTheStart)
{
    options.faults = {ZavSim::FaultFromText(R"({"kind":"code","code":5,"target":"sessions"})")};
    Start();
    EXPECT_CODE(5, ArrayClient(Url()).Login());
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

TEST_F(FaultsOverHttpTest, ListShowsWhatIsLeftAndDeleteTakesItAway)
{
    Inject(R"({"kind":"drop","target":"nowhere"})");
    Inject(R"({"kind":"status","status":500,"count":0})");
    EXPECT_EQ(500, client->Get("lun/count").status);
    const Json::Value list = Admin("GET", "faults").json;
    ASSERT_EQ(2U, list.size());
    EXPECT_EQ(1, list[1]["hits"].asInt());
    EXPECT_EQ(200, Admin("DELETE", "faults/2").status);
    EXPECT_EQ(200, client->Get("lun/count").status);
    Admin("DELETE", "faults");
    EXPECT_EQ(0U, Admin("GET", "faults").json.size());
}

TEST_F(FaultsOverHttpTest, LengthFarBelowTheRealOneIsNone)
{
    const std::string target = "/deviceManager/rest/" + client->device + "/lun?range=[0-16]";
    const Headers headers{{"Cookie", client->cookie}, {"iBaseToken", client->token}, {"Accept-Encoding", "gzip"}};
    ASSERT_EQ("gzip", client->Http().Send("GET", target, headers).Header("Content-Encoding"));
    Inject(R"({"kind":"wrong-length","bytes":-100000})");
    EXPECT_EQ("0", client->Http().Send("GET", target, headers).Header("Content-Length"));
}

class StatusWithoutBodyTest : public FaultsOverHttpTest, public ::testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Statuses, StatusWithoutBodyTest, ::testing::Values(204, 304));

TEST_P(StatusWithoutBodyTest, StatusThatHasNoBodyLeavesTheConnectionInOrder)
{
    Inject(R"({"kind":"status","status":)" + std::to_string(GetParam()) + R"(,"target":"system"})");
    const RawConnection connection(Url());
    connection.Send("GET /deviceManager/rest/x/system/ HTTP/1.1\r\nHost: a\r\n\r\n"
                    "GET /deviceManager/rest/x/lun HTTP/1.1\r\nHost: a\r\n\r\n");
    const std::string answers = connection.ReceiveUntil("\"error\"");
    const std::size_t second = answers.find("\r\n\r\n") + 4;
    EXPECT_THAT(answers, ::testing::StartsWith("HTTP/1.1 " + std::to_string(GetParam()) + " "));
    EXPECT_THAT(answers.substr(second), ::testing::StartsWith("HTTP/1.1 200 OK"));
    EXPECT_EQ(GetParam() == 304, answers.substr(0, second).find("Content-Length") != std::string::npos);
}

TEST_F(FaultsOverHttpTest, DelayIsTheSameForAClientThatHasEndedItsSending)
{
    Inject(R"({"kind":"delay","milliseconds":150})");
    const RawConnection connection(Url());
    connection.Send("GET /deviceManager/rest/x/lun HTTP/1.1\r\nHost: a\r\n\r\n");
    connection.EndSending();
    EXPECT_THAT(connection.ReceiveUntil("\"error\""), ::testing::HasSubstr("\"error\""));
    EXPECT_GE(LastEntry()["durationMs"].asInt(), 150);
}

/// An address that serves one connection, so that the next client is served when that has ended; and one to steer by.
class LonelyConnectionTest : public FaultsOverHttpTest {
protected:
    LonelyConnectionTest()
    {
        client.reset();
        options.listen = {{false, "127.0.0.1", 0}, {false, "::1", 0}};
        options.server.connections = 1;
        Start();
    }

    void InjectHere(const std::string& fault) { EXPECT_EQ(200, Steer("faults", fault).status); }

    Reply Steer(const std::string& resource, const std::string& body)
    {
        return ArrayClient(Url(1)).Raw("POST", "/zavsim/" + resource, body);
    }

    const std::string request = "GET /deviceManager/rest/x/lun HTTP/1.1\r\nHost: a\r\n\r\n";
    const std::string endlessDrip = R"({"kind":"drip","milliseconds":3600000})";
};

TEST_F(LonelyConnectionTest, SilenceEndsForAClientThatSendsOnAndOn)
{
    InjectHere(R"({"kind":"silent"})");
    const RawConnection connection(Url());
    connection.Send(request + std::string(65536, 'x'));
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

TEST_F(LonelyConnectionTest, DripEndsWhenItsAddressGoesDown)
{
    InjectHere(endlessDrip);
    const RawConnection connection(Url());
    connection.Send(request);
    EXPECT_EQ("H", connection.ReceiveUntil("H"));
    EXPECT_EQ(200, Steer("listeners", R"({"url":")" + Url() + R"(","listening":false})").status);
    EXPECT_EQ("", connection.ReceiveUntil("X"));
}

TEST_F(LonelyConnectionTest, DripEndsWhenItsClientLeaves)
{
    InjectHere(endlessDrip);
    {
        const RawConnection connection(Url());
        connection.Send(request);
        connection.AwaitBytes(); // which are not received: the system resets the connection
    }
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

} // namespace
} // namespace ZavSimTest
