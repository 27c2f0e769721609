#include "simulator/http/event_feed.h"
#include "simulator/json/json_io.h"
#include "tests/simulator/support/raw_connection.h"
#include "tests/simulator/support/running_simulation.h"
#include "tests/support/process.h"

#include <gmock/gmock.h>

#include <memory>

namespace ZavSimTest {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using ZavSim::Code;

/// A client that reads events.
class EventReader {
public:
    struct Event {
        std::string name; ///< empty: the stream has ended
        Json::Value data;
    };

    explicit EventReader(const std::string& url, int receiveBytes = 0)
        : m_connection(url, receiveBytes)
    {
        m_connection.Send("GET /zavsim/events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        m_received = m_connection.ReceiveUntil("\r\n\r\n");
        const std::size_t end = m_received.find("\r\n\r\n") + 4;
        head = m_received.substr(0, end);
        m_received.erase(0, end);
        const Event hello = Next();
        EXPECT_EQ("hello", hello.name);
        run = hello.data["run"].asString();
    }

    Event Next()
    {
        std::size_t end = 0;
        while ((end = m_received.find("\n\n", m_at)) == std::string::npos) {
            const std::string more = m_connection.ReceiveUntil("\n");
            if (more.empty()) {
                return {};
            }
            m_received += more;
        }
        const std::string text = m_received.substr(m_at, end - m_at);
        m_at = end + 2;
        const std::size_t line = text.find('\n');
        std::string problem;
        EXPECT_THAT(text, AllOf(StartsWith("event: "), HasSubstr("\ndata: ")));
        return {text.substr(7, line - 7), ZavSim::ParseJson(text.substr(line + 7), problem).value_or(Json::Value())};
    }

    /// The next of that name.
    Event Next(const std::string& name)
    {
        Event event = Next();
        while (!event.name.empty() && event.name != name) {
            event = Next();
        }
        EXPECT_EQ(name, event.name);
        return event;
    }

    std::string head;
    std::string run; ///< of the simulator that answers

private:
    RawConnection m_connection;
    std::string m_received;
    std::size_t m_at = 0;
};

class EventsTest : public SimulationTest {
protected:
    EventsTest() { Start(); }

    Json::Value LastEntry()
    {
        const Json::Value entries = Admin("GET", "journal?last=1").json["entries"];
        EXPECT_EQ(1U, entries.size());
        return entries[0];
    }
};

TEST_F(EventsTest, ComeAsAStreamThatNothingKeeps)
{
    const EventReader reader(Url());
    EXPECT_THAT(reader.head, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(reader.head,
                AllOf(HasSubstr("Content-Type: text/event-stream\r\n"), HasSubstr("Cache-Control: no-store\r\n"),
                      HasSubstr("Connection: close\r\n"), Not(HasSubstr("Content-Length"))));
}

TEST_F(EventsTest, BeginWithWhatTellsOneRunFromAnother)
{
    const std::string run = EventReader(Url()).run;
    EXPECT_NE("", run);
    EXPECT_EQ(run, EventReader(Url()).run);
    Start();
    EXPECT_NE(run, EventReader(Url()).run);
}

TEST_F(EventsTest, TellEachRequestWhenItComesAndWhenItIsAnswered)
{
    const auto client = Client();
    EventReader reader(Url());
    EXPECT_CODE(Code::Success, client->Get("lun/count"));
    const EventReader::Event request = reader.Next();
    EXPECT_EQ("request", request.name);
    EXPECT_FALSE(request.data.isMember("status"));
    const EventReader::Event answer = reader.Next();
    EXPECT_EQ("answer", answer.name);
    EXPECT_EQ(request.data["number"], answer.data["number"]);
    EXPECT_EQ(LastEntry(), answer.data) << "the journal's own";
    EXPECT_EQ(R"({"data":{"COUNT":"16"},"error":{"code":0,"description":"0"}})", answer.data["answer"].asString());
}

TEST_F(EventsTest, TellSecretsMasked)
{
    EventReader reader(Url());
    const auto client = Client();
    const Json::Value entry = reader.Next("answer").data;
    EXPECT_EQ("***", entry["body"]["password"].asString());
    EXPECT_THAT(entry["answer"].asString(), HasSubstr(R"("iBaseToken":"***")"));
    for (const std::string& secret : {std::string("zavsim-admin"), client->token, client->cookie.substr(8)}) {
        EXPECT_THAT(ZavSim::WriteJson(entry), Not(HasSubstr(secret)));
        EXPECT_THAT(Admin("GET", "journal").body, Not(HasSubstr(secret)));
    }
}

TEST_F(EventsTest, TellWhenTheSimulatorIsSteered)
{
    EventReader reader(Url());
    Admin("GET", "faults");
    Admin("DELETE", "faults/77");
    Client(); // two events later than those that must not come
    EXPECT_EQ("request", reader.Next().name) << "neither reading nor what is refused is told";
    EXPECT_EQ("answer", reader.Next().name);
    Admin("POST", "faults", R"({"kind":"drop"})");
    EXPECT_EQ("steered", reader.Next().name);
}

TEST_F(EventsTest, AnswersAreKeptOnlyWhileSomebodyLooks)
{
    const auto client = Client();
    client->Get("lun/count");
    EXPECT_FALSE(LastEntry().isMember("answer"));
    auto reader = std::make_unique<EventReader>(Url());
    client->Get("lun/count");
    EXPECT_TRUE(LastEntry().isMember("answer"));
    reader.reset();
    WaitUntil("nobody looks any more", [&] {
        client->Get("lun/count");
        return !LastEntry().isMember("answer");
    });
}

TEST_F(EventsTest, AnswerThatIsCompressedOrLostIsShownAsItIsMeant)
{
    const auto client = Client();
    const EventReader reader(Url());
    client->Http().Send("GET", "/deviceManager/rest/" + client->device + "/lun/count",
                        {{"Cookie", client->cookie}, {"iBaseToken", client->token}, {"Accept-Encoding", "gzip"}});
    EXPECT_EQ("gzip", LastEntry()["encoding"].asString());
    EXPECT_THAT(LastEntry()["answer"].asString(), HasSubstr("COUNT"));
    Admin("POST", "faults", R"({"kind":"drop-answer"})");
    client->Get("lun/count");
    EXPECT_EQ(0, LastEntry()["status"].asInt());
    EXPECT_FALSE(LastEntry().isMember("answer")) << "none left";
}

TEST_F(EventsTest, MoreReadersThanAreServedAreRefused)
{
    std::vector<std::unique_ptr<EventReader>> readers;
    for (std::size_t i = 0; i < ZavSim::EventFeed::MOST_READERS; ++i) {
        readers.push_back(std::make_unique<EventReader>(Url()));
    }
    const Reply refusal = Admin("GET", "events");
    EXPECT_EQ(503, refusal.status);
    EXPECT_THAT(refusal.json["error"].asString(), HasSubstr("16 clients"));
}

TEST_F(EventsTest, EndWithTheSimulator)
{
    EventReader reader(Url());
    simulation.reset();
    EXPECT_EQ("", reader.Next().name);
}

TEST_F(EventsTest, EndWithTheirAddress)
{
    options.listen.push_back({false, "127.0.0.2", 0});
    Start();
    EventReader reader(Url());
    ArrayClient(Url(1)).Raw("POST", "/zavsim/listeners", R"({"url":")" + Url() + R"(","listening":false})");
    while (!reader.Next().name.empty()) {
    }
    EXPECT_EQ(200, ArrayClient(Url(1)).Raw("GET", "/zavsim/listeners").status);
}

TEST_F(EventsTest, ReaderThatDoesNotReadSlowsNobodyAndIsToldToBeginAnew)
{
    const auto client = Client();
    EventReader reader(Url(), 16384);
    const std::string page = "lun?range=[0-16]";
    // More than sockets and queue hold, and sent long before a reader that takes nothing is cut off.
    constexpr std::size_t MUCH = 4ULL * 1024 * 1024;
    for (std::size_t sent = 0; sent < MUCH;) {
        const Reply reply = client->Get(page);
        ASSERT_EQ(0, reply.Code());
        sent += reply.body.size();
    }
    reader.Next("resync");
    EXPECT_EQ("", reader.Next().name) << "it is the last";
    EventReader again(Url());
    client->Get("lun/count");
    EXPECT_EQ("request", again.Next().name);
}

TEST(EventQueueTest, WakesWhenSomethingComesAndHoldsNoMoreThanItsBound)
{
    ZavSim::EventQueue queue;
    int woken = 0;
    queue.SetWake([&woken] { ++woken; });
    queue.Push("one");
    queue.Push("two");
    EXPECT_EQ(1, woken);
    EXPECT_EQ("onetwo", queue.Take());
    EXPECT_EQ("", queue.Take());
    queue.Push(std::string(ZavSim::EventQueue::MOST_BYTES, 'x'));
    EXPECT_FALSE(queue.IsOver());
    queue.Push("y");
    EXPECT_TRUE(queue.IsOver());
    queue.Push("z");
    EXPECT_EQ("event: resync\ndata: {}\n\n", queue.Take());
    EXPECT_EQ(2, woken);
}

TEST(EventFeedTest, NobodyLooksOnceTheLastReaderIsGone)
{
    ZavSim::EventFeed feed;
    EXPECT_FALSE(feed.IsWatched());
    auto first = feed.Subscribe();
    const auto second = feed.Subscribe();
    feed.Publish("a", Json::Value(1));
    EXPECT_EQ("event: a\ndata: 1\n\n", first->Take());
    first.reset();
    feed.Publish("b", Json::Value(2));
    EXPECT_TRUE(feed.IsWatched());
    EXPECT_EQ("event: a\ndata: 1\n\nevent: b\ndata: 2\n\n", second->Take());
}

} // namespace
} // namespace ZavSimTest
