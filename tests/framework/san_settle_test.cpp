#include "framework/public/san_journal.h"
#include "tests/framework/support/san_test.h"

#include <boost/thread/thread.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

namespace {

using OpenFramework::JournalEntry;
using OpenFramework::SanJournal;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string BUSY = Refusal(1077949006, "The system is busy.");
const std::string NAME_TAKEN = Refusal(1077948993, "The name is in use.");
const std::string NO_SUCH_RESOURCE = Refusal(1090519044, "There is no such resource.");
const std::string GARBAGE = "<html>502</html>";

std::string List(const std::vector<std::string>& objects)
{
    std::string list;
    for (const std::string& object : objects) {
        list += (list.empty() ? "{" : ",{") + object + "}";
    }
    return R"({"data":[)" + list + R"(],"error":{"code":0,"description":"0"}})";
}

/// What the array does with a request whose answer may get lost.
class SanSettleTest : public SanTest {
protected:
    SanSettleTest()
    {
        const std::string path = SanJournal::StandardPath();
        ::mkdir(path.substr(0, path.rfind('/')).c_str(), 0755);
        m_manager = Connected();
        m_before = m_server.Requests().size();
    }

    /// Answers the first request for `path` with the first text, and so on; the last one from then on.
    void Script(const std::string& path, std::vector<std::string> answers)
    {
        const auto next = std::make_shared<std::atomic<std::size_t>>(0);
        m_server.On(BASE + path, [answers, next](const ServedRequest& /*request*/, HttpReply& reply) {
            reply.body = answers[std::min(next->fetch_add(1), answers.size() - 1)];
        });
    }

    /// The same by method, so that a path may be written to and listed.
    void Script(const std::string& path, std::vector<std::string> written, std::vector<std::string> listed)
    {
        const auto writes = std::make_shared<std::atomic<std::size_t>>(0);
        const auto reads = std::make_shared<std::atomic<std::size_t>>(0);
        m_server.On(BASE + path, [=](const ServedRequest& request, HttpReply& reply) {
            const auto& answers = request.method == "GET" ? listed : written;
            const auto& count = request.method == "GET" ? reads : writes;
            reply.body = answers[std::min(count->fetch_add(1), answers.size() - 1)];
        });
    }

    std::vector<std::string> Sent() const
    {
        std::vector<std::string> sent;
        const std::vector<ServedRequest> requests = m_server.Requests();
        for (std::size_t i = m_before; i < requests.size(); ++i) {
            sent.push_back(Summary(requests[i]));
        }
        return sent;
    }

    CHostHandler& Hosts() { return HandlerOf<CHostHandler>(m_manager, HANDLER_HOST); }
    CHostGroupHandler& HostGroups() { return HandlerOf<CHostGroupHandler>(m_manager, HANDLER_HOST_GROUP); }
    CMappingViewHandler& Views() { return HandlerOf<CMappingViewHandler>(m_manager, HANDLER_MAPPING_VIEW); }
    CIscsiInitiatorHandler& Initiators()
    {
        return HandlerOf<CIscsiInitiatorHandler>(m_manager, HANDLER_ISCSI_INITIATOR);
    }

    /// What the journal has of the name: "host 12" or, while nobody knows, "host ".
    static std::vector<std::string> Journal(const std::string& name)
    {
        std::vector<std::string> found;
        for (const JournalEntry& entry : SanJournal(SanJournal::StandardPath()).Standing("2102351234")) {
            if (entry.name == name) {
                found.push_back(entry.kind + " " + entry.id);
            }
        }
        return found;
    }

    Manager m_manager;
    std::size_t m_before = 0;
    const std::string m_name =
        "n" + std::to_string(::getpid()) + testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string m_post = R"(POST host {"NAME":")" + m_name + R"(","TYPE":"21"})";
};

TEST_F(SanSettleTest, CreationWhoseAnswerIsLostIsFoundByItsName)
{
    Script("host", {GARBAGE}, {List({R"("ID":"1","NAME":"other")", R"("ID":"12","NAME":")" + m_name + '"'})});
    EXPECT_EQ("12", Hosts().Create({"", m_name}).id);
    EXPECT_THAT(Sent(), ElementsAre(m_post, "GET host?range=[0-100]"));
    EXPECT_THAT(Journal(m_name), ElementsAre("host 12"));
}

TEST_F(SanSettleTest, CreationThatDidNotComeThroughIsRepeated)
{
    Script("host", {GARBAGE, Data(R"("ID":"13","NAME":")" + m_name + '"')}, {List({})});
    EXPECT_EQ("13", Hosts().Create({"", m_name}).id);
    EXPECT_THAT(Sent(), ElementsAre(m_post, "GET host?range=[0-100]", m_post));
    EXPECT_THAT(Journal(m_name), ElementsAre("host 13"));
}

TEST_F(SanSettleTest, BusyArrayIsAskedAgain)
{
    Script("host", {BUSY, Data(R"("ID":"14","NAME":")" + m_name + '"')}, {List({})});
    EXPECT_EQ("14", Hosts().Create({"", m_name}).id);
    EXPECT_EQ(3U, Sent().size());
}

TEST_F(SanSettleTest, AnswerWithoutAnIdIsLookedBehind)
{
    Script("host", {DONE}, {List({R"("ID":"15","NAME":")" + m_name + '"'})});
    EXPECT_EQ("15", Hosts().Create({"", m_name}).id);
}

TEST_F(SanSettleTest, NameIsLookedForOnEachPage)
{
    std::vector<std::string> full;
    for (int i = 0; i < 100; ++i) {
        full.push_back(R"("ID":")" + std::to_string(i) + R"(","NAME":"o")");
    }
    Script("host", {GARBAGE}, {List(full), List({R"("ID":"512","NAME":")" + m_name + '"'})});
    EXPECT_EQ("512", Hosts().Create({"", m_name}).id);
    EXPECT_EQ("GET host?range=[100-200]", Sent().back());
}

TEST_F(SanSettleTest, ArrayThatDoesNotListLeavesTheOutcomeAnErrorAndTheIntent)
{
    Script("host", {GARBAGE}, {NO_SUCH_RESOURCE});
    EXPECT_EQ("create host \"" + m_name + "\" failed: the array's answer is not of the form that it should have",
              ErrorOf([this] {
                  Hosts().Create({"", m_name});
              }));
    EXPECT_THAT(Sent(), ElementsAre(m_post, "GET host?range=[0-100]"));
    EXPECT_THAT(Journal(m_name), ElementsAre("host ")) << "it may stand";
}

TEST_F(SanSettleTest, NameThatIsSomebodyElsesIsNotTaken)
{
    Script("host", {NAME_TAKEN}, {List({R"("ID":"12","NAME":")" + m_name + '"'})});
    EXPECT_EQ("create host \"" + m_name + "\" failed: the array answered with error 1077948993: The name is in use.",
              ErrorOf([this] {
                  Hosts().Create({"", m_name});
              }));
    EXPECT_THAT(Sent(), ElementsAre(m_post));
    EXPECT_THAT(Journal(m_name), IsEmpty());
}

TEST_F(SanSettleTest, NameThatAnEarlierTryTookIsOurs)
{
    Script("host", {GARBAGE, NAME_TAKEN}, {List({}), List({R"("ID":"16","NAME":")" + m_name + '"'})});
    EXPECT_EQ("16", Hosts().Create({"", m_name}).id);
    EXPECT_THAT(Journal(m_name), ElementsAre("host 16"));
}

TEST_F(SanSettleTest, LastTryIsLookedAfter)
{
    m_server.On(BASE + "host", [this](const ServedRequest& request, HttpReply& reply) {
        const std::vector<std::string> sent = Sent();
        const auto posts = std::count(sent.begin(), sent.end(), m_post);
        reply.body = request.method != "GET" ? GARBAGE
                     : posts < 4             ? List({})
                                             : List({R"("ID":"17","NAME":")" + m_name + '"'});
    });
    EXPECT_EQ("17", Hosts().Create({"", m_name}).id);
    EXPECT_THAT(Journal(m_name), ElementsAre("host 17"));
}

TEST_F(SanSettleTest, RefusalAfterADoubtThatCannotBeLookedIntoLeavesTheIntent)
{
    // The session lapses behind a lost answer: neither the list nor a further try is answered.
    Script("host", {GARBAGE, Refusal(-401, "lapsed")}, {List({}), Refusal(-401, "lapsed")});
    EXPECT_EQ("create host \"" + m_name + "\" failed: the array's answer is not of the form that it should have",
              ErrorOf([this] {
                  Hosts().Create({"", m_name});
              }));
    EXPECT_THAT(Journal(m_name), ElementsAre("host ")) << "it may stand";
}

TEST_F(SanSettleTest, RefusalAfterADoubtThatIsLookedIntoIsKnown)
{
    Script("host", {GARBAGE, Refusal(9, "no")}, {List({})});
    EXPECT_EQ("create host \"" + m_name + "\" failed: the array answered with error 9: no", ErrorOf([this] {
                  Hosts().Create({"", m_name});
              }));
    EXPECT_THAT(Journal(m_name), IsEmpty());
}

TEST_F(SanSettleTest, NameThatAnEarlierCreationMayHaveTakenIsLookedForFirst)
{
    Script("host", {GARBAGE}, {NO_SUCH_RESOURCE, List({R"("ID":"18","NAME":")" + m_name + '"'})});
    ErrorOf([this] { Hosts().Create({"", m_name}); });
    EXPECT_THAT(Journal(m_name), ElementsAre("host "));
    EXPECT_EQ("18", Hosts().Create({"", m_name}).id);
    EXPECT_THAT(Sent(), ElementsAre(m_post, "GET host?range=[0-100]", "GET host?range=[0-100]"));
    EXPECT_THAT(Journal(m_name), ElementsAre("host 18"));
}

TEST_F(SanSettleTest, AnswerOfAProxyAfterADoubtIsLookedBehind)
{
    const auto writes = std::make_shared<std::atomic<int>>(0);
    m_server.On(BASE + "host", [=](const ServedRequest& request, HttpReply& reply) {
        if (request.method == "GET") {
            reply.body = List({});
        } else if (writes->fetch_add(1) == 0) {
            reply.body = GARBAGE;
        } else {
            reply.status = 403;
        }
    });
    const std::string error = ErrorOf([this] { Hosts().Create({"", m_name}); });
    EXPECT_THAT(error, testing::HasSubstr("403"));
    EXPECT_THAT(Sent(), ElementsAre(m_post, "GET host?range=[0-100]", m_post, "GET host?range=[0-100]"));
}

TEST_F(SanSettleTest, CodesThatDoNotTellTheOutcomeAreLookedBehind)
{
    for (const int code : {-408, -500, -1000, 1077949067}) {
        Script("host", {Refusal(code, "?")}, {List({R"("ID":"20","NAME":")" + m_name + '"'})});
        EXPECT_EQ("20", Hosts().Create({"", m_name}).id) << code;
    }
}

TEST_F(SanSettleTest, LookBehindARefusalIsTriedAgain)
{
    Script("host/associate", {Refusal(1077948997, "It is in the group.")}, {BUSY, List({R"("ID":"12")"})});
    HostGroups().AddHost("12", "5");
    EXPECT_EQ(3U, Sent().size());
}

TEST_F(SanSettleTest, ListThatHasNoPagesIsNotReadForEver)
{
    std::vector<std::string> all;
    for (int i = 0; i < 100; ++i) {
        all.push_back(R"("ID":")" + std::to_string(i) + R"(","NAME":"o")");
    }
    Script("host", {GARBAGE}, {List(all)});
    EXPECT_EQ("create host \"" + m_name + "\" failed: the array's answer is not of the form that it should have",
              ErrorOf([this] {
                  Hosts().Create({"", m_name});
              }));
    EXPECT_EQ(3U, Sent().size());
    EXPECT_THAT(Journal(m_name), ElementsAre("host "));
}

TEST_F(SanSettleTest, AnswerOfMillionsOfValuesIsNotRead)
{
    std::string values = "0";
    for (int i = 0; i < 3'000'000; ++i) {
        values += ",0";
    }
    Script("host", {R"({"data":[)" + values + R"(],"error":{"code":0}})"}, {NO_SUCH_RESOURCE});
    EXPECT_EQ("create host \"" + m_name + "\" failed: the array's answer is not of the form that it should have",
              ErrorOf([this] {
                  Hosts().Create({"", m_name});
              }));
}

TEST_F(SanSettleTest, AssociationThatStandsIsDone)
{
    Script("host/associate", {Refusal(1077948997, "It is in the group.")}, {List({R"("ID":"3")", R"("ID":"12")"})});
    HostGroups().AddHost("12", "5");
    EXPECT_THAT(
        Sent(),
        ElementsAre(R"(POST host/associate {"ASSOCIATEOBJID":"12","ASSOCIATEOBJTYPE":"21","ID":"5","TYPE":"14"})",
                    "GET host/associate?TYPE=21&ASSOCIATEOBJTYPE=14&ASSOCIATEOBJID=5"));

    Script("mappingview/CREATE_ASSOCIATE", {GARBAGE});
    Script("hostgroup/associate", {List({R"("ID":"5")"})});
    Views().AddHostGroup("7", "5");
    EXPECT_EQ("GET hostgroup/associate?TYPE=14&ASSOCIATEOBJTYPE=245&ASSOCIATEOBJID=7", Sent().back());

    Script("iscsi_initiator/add_iscsi_to_host", {BUSY});
    Script("iscsi_initiator/iqn.x", {Data(R"("ID":"iqn.x","PARENTID":"12")")});
    Initiators().AddToHost({"iqn.x", "", ""}, "12");
    EXPECT_EQ("GET iscsi_initiator/iqn.x", Sent().back());
}

TEST_F(SanSettleTest, AssociationThatIsRefusedForAnotherReasonIsRefused)
{
    Script("host/associate", {Refusal(9, "no")}, {List({R"("ID":"3")"})});
    EXPECT_EQ("add host \"12\" to host group \"5\" failed: the array answered with error 9: no",
              ErrorOf([this] { HostGroups().AddHost("12", "5"); }));
    Script("iscsi_initiator/add_iscsi_to_host", {Refusal(9, "no")});
    Script("iscsi_initiator/iqn.x", {Data(R"("ID":"iqn.x","PARENTID":"13")")});
    EXPECT_EQ("add iSCSI initiator \"iqn.x\" to host \"12\" failed: the array answered with error 9: no",
              ErrorOf([this] {
                  Initiators().AddToHost({"iqn.x", "", ""}, "12");
              }));
}

TEST_F(SanSettleTest, InitiatorWhoseCreationIsInDoubtIsFetchedOrMade)
{
    Script("iscsi_initiator", {BUSY, Data(R"("ID":"iqn.x","PARENTID":"")")});
    Script("iscsi_initiator/iqn.x", {Refusal(1077948996, "There is none.")});
    EXPECT_EQ("iqn.x", Initiators().Create({"iqn.x", "", ""}).id);
    EXPECT_EQ(3U, Sent().size());
}

TEST_F(SanSettleTest, InterruptionOfTheThreadWaitsForTheEndOfTheOperation)
{
    Script("iscsi_initiator", {BUSY, Data(R"("ID":"iqn.x","PARENTID":"")")});
    Script("iscsi_initiator/iqn.x", {Refusal(1077948996, "There is none.")});
    std::string id;
    bool isStillAsked = false;
    boost::thread caller([&] {
        id = Initiators().Create({"iqn.x", "", ""}).id;
        isStillAsked = boost::this_thread::interruption_requested();
    });
    caller.interrupt();
    caller.join();
    EXPECT_EQ("iqn.x", id);
    EXPECT_TRUE(isStillAsked);
}

} // namespace
