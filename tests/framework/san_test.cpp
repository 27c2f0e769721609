#include "tests/framework/support/san_test.h"

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SanManagerTest : public SanTest {};

TEST_F(SanManagerTest, ConnectAsksTheArrayWhetherTheSessionStands)
{
    const Manager manager = Connected();
    const ServedRequest request = m_server.Requests().back();
    EXPECT_EQ("GET", request.method);
    EXPECT_EQ(BASE + "system/", request.target);
    EXPECT_EQ("the token", request.Header("iBaseToken"));
    EXPECT_EQ("session=the cookie", request.Header("Cookie"));
}

TEST_F(SanManagerTest, ConnectUsesTheConnectionOfTheClientThatLoggedIn)
{
    const auto client = QEN::IHttpClient::CreateClient();
    const std::size_t before = m_server.ConnectionCount();
    client->SendRequest(Request("POST", m_server.Url("/deviceManager/rest//sessions"), "{}"), 20);
    const Manager manager = Connected();
    EXPECT_EQ(before + 1, m_server.ConnectionCount());
}

TEST_F(SanManagerTest, SessionThatTheArrayDoesNotTakeIsNoConnection)
{
    m_server.Answer("GET", BASE + "system/", Refusal(-401, "This operation fails to be performed."));
    const Manager manager(CDeviceManager::getInstance(0, 500000));
    EXPECT_FALSE(Connect(manager));
    EXPECT_THAT(LogTexts("4"), ElementsAre("connect to " + Url() +
                                           " failed: the array answered with error -401: This operation fails to be "
                                           "performed."));
}

TEST_F(SanManagerTest, ArrayThatIsNotThereIsNoConnection)
{
    const Manager manager(CDeviceManager::getInstance(0, 500000));
    EXPECT_FALSE(Connect(manager, "127.0.0.77"));
    unsigned int port = 70000;
    EXPECT_FALSE(manager->Connect("127.0.0.1", port, "d", "t", "c"));
    EXPECT_FALSE(manager->Connect("", port = 1, "d", "t", "c"));
    EXPECT_FALSE(manager->Connect("bad address", port = 1, "d", "t", "c"));
    EXPECT_FALSE(manager->Connect("127.0.0.1", port = 1, "d", "token\r\nX: y", "c"));
    for (const std::string& line : LogTexts("4")) {
        EXPECT_THAT(line, testing::Not(HasSubstr("token\\r")));
    }
    EXPECT_EQ(5U, LogTexts("4").size());
}

TEST_F(SanManagerTest, ServerThatNeverAnsweredIsSpokenToOverHttps)
{
    const TestCa ca;
    WriteText(InRoot("ca.pem"), ca.Own().Pem());
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    WebServer secure(ca.Issue());
    secure.Answer("GET", BASE + "system/", DONE);
    const Manager manager(CDeviceManager::getInstance(0, 500000));
    auto port = static_cast<unsigned int>(secure.Port());
    EXPECT_TRUE(manager->Connect("127.0.0.1", port, "2102351234", "t", "c"));
    EXPECT_EQ(static_cast<unsigned int>(secure.Port()), port);
}

TEST_F(SanManagerTest, PortZeroStandsForThatOfHttp)
{
    const Manager manager(CDeviceManager::getInstance(0, 500000));
    unsigned int port = 0;
    manager->Connect("127.0.0.1", port, "2102351234", "t", "c"); // whether somebody listens there or not
    EXPECT_EQ(80U, port);
}

TEST_F(SanManagerTest, Ipv6AddressIsBracketed)
{
    WebServer server("::1");
    server.Answer("GET", BASE + "system/", DONE);
    Get(server.Url("/"));
    const Manager manager(CDeviceManager::getInstance(0, 500000));
    auto port = static_cast<unsigned int>(server.Port());
    EXPECT_TRUE(manager->Connect("::1", port, "2102351234", "t", "c"));
}

TEST_F(SanManagerTest, EveryHandlerIsOfItsKindAndOthersAreNone)
{
    const Manager manager = Connected();
    EXPECT_NE(nullptr, dynamic_cast<CLunGroupHandler*>(manager->GetHandler(HANDLER_LUN_GROUP)));
    EXPECT_NE(nullptr, dynamic_cast<CHostHandler*>(manager->GetHandler(HANDLER_HOST)));
    EXPECT_NE(nullptr, dynamic_cast<CHostGroupHandler*>(manager->GetHandler(HANDLER_HOST_GROUP)));
    EXPECT_NE(nullptr, dynamic_cast<CMappingViewHandler*>(manager->GetHandler(HANDLER_MAPPING_VIEW)));
    EXPECT_NE(nullptr, dynamic_cast<CIscsiInitiatorHandler*>(manager->GetHandler(HANDLER_ISCSI_INITIATOR)));
    EXPECT_NE(nullptr, dynamic_cast<CFCInitiatorHandler*>(manager->GetHandler(HANDLER_FC_INITIATOR)));
    EXPECT_EQ(nullptr, dynamic_cast<CHostHandler*>(manager->GetHandler(HANDLER_LUN_GROUP)));
    EXPECT_EQ(manager->GetHandler(HANDLER_HOST), manager->GetHandler(HANDLER_HOST));
    EXPECT_EQ(nullptr, manager->GetHandler(static_cast<HANDLERTYPE>(5 + 3)));
}

TEST_F(SanManagerTest, HandlersBeforeAConnectionSaySo)
{
    const Manager manager(CDeviceManager::getInstance(0, 500000));
    EXPECT_EQ("create host \"h\" failed: there is no connection to an array", ErrorOf([&] {
                  HandlerOf<CHostHandler>(manager, HANDLER_HOST).Create({"", "h"});
              }));
}

TEST_F(SanManagerTest, ReleaseOfNothingIsNoError)
{
    CDeviceManager::releaseInstance(nullptr);
}

TEST_F(SanManagerTest, NamedObjectsAreCreatedByTheirName)
{
    const Manager manager = Connected();
    m_server.Answer("POST", BASE + "lungroup", Data(R"("ID":"31","NAME":"n","TYPE":"256")"));
    const LunGroupMO lunGroup = HandlerOf<CLunGroupHandler>(manager, HANDLER_LUN_GROUP).Create({"", "n"});
    EXPECT_EQ("31", lunGroup.id);
    EXPECT_EQ("n", lunGroup.name);
    EXPECT_EQ(R"(POST lungroup {"NAME":"n","TYPE":"256"})", LastRequest());

    m_server.Answer("POST", BASE + "host", Data(R"("ID":"12","NAME":"n \"q\"","TYPE":"21")"));
    EXPECT_EQ("n \"q\"", HandlerOf<CHostHandler>(manager, HANDLER_HOST).Create({"", "n \"q\""}).name);
    EXPECT_EQ(R"(POST host {"NAME":"n \"q\"","TYPE":"21"})", LastRequest());

    m_server.Answer("POST", BASE + "hostgroup", Data(R"("ID":"5","NAME":"n","TYPE":"14")"));
    EXPECT_EQ("5", HandlerOf<CHostGroupHandler>(manager, HANDLER_HOST_GROUP).Create({"", "n"}).id);
    EXPECT_EQ(R"(POST hostgroup {"NAME":"n","TYPE":"14"})", LastRequest());

    m_server.Answer("POST", BASE + "mappingview", Data(R"("ID":"7","NAME":"n","TYPE":"245")"));
    EXPECT_EQ("7", HandlerOf<CMappingViewHandler>(manager, HANDLER_MAPPING_VIEW).Create({"", "n"}).id);
    EXPECT_EQ(R"(POST mappingview {"NAME":"n","TYPE":"245"})", LastRequest());
}

TEST_F(SanManagerTest, ObjectsAreQueriedByTheirEncodedId)
{
    const Manager manager = Connected();
    m_server.Answer("GET", BASE + "host/1%2F2", Data(R"("ID":"1/2","NAME":"node")"));
    EXPECT_EQ("node", HandlerOf<CHostHandler>(manager, HANDLER_HOST).Query("1/2").name);

    m_server.Answer("GET", BASE + "iscsi_initiator/iqn.2020-01.x%3Anode_1~%C3%A4",
                    Data(R"("ID":"iqn.2020-01.x:node_1~ä","NAME":"","PARENTID":"12")"));
    const IscsiInitiatorMO initiator =
        HandlerOf<CIscsiInitiatorHandler>(manager, HANDLER_ISCSI_INITIATOR).Query("iqn.2020-01.x:node_1~ä");
    EXPECT_EQ("iqn.2020-01.x:node_1~ä", initiator.id);
    EXPECT_EQ("12", initiator.parentId);
}

TEST_F(SanManagerTest, RequestsShareOneConnection)
{
    const Manager manager = Connected();
    m_server.Answer("GET", BASE + "host/1", Data(R"("ID":"1")"));
    const std::size_t before = m_server.ConnectionCount();
    for (int round = 0; round < 5; ++round) {
        HandlerOf<CHostHandler>(manager, HANDLER_HOST).Query("1");
    }
    EXPECT_EQ(before, m_server.ConnectionCount());
}

TEST_F(SanManagerTest, MembersAreAssociated)
{
    const Manager manager = Connected();
    m_server.Answer("POST", BASE + "host/associate", DONE);
    HandlerOf<CHostGroupHandler>(manager, HANDLER_HOST_GROUP).AddHost("12", "5");
    EXPECT_EQ(R"(POST host/associate {"ASSOCIATEOBJID":"12","ASSOCIATEOBJTYPE":"21","ID":"5","TYPE":"14"})",
              LastRequest());

    m_server.Answer("PUT", BASE + "mappingview/CREATE_ASSOCIATE", DONE);
    auto& views = HandlerOf<CMappingViewHandler>(manager, HANDLER_MAPPING_VIEW);
    views.AddHostGroup("7", "5");
    EXPECT_EQ(
        R"(PUT mappingview/CREATE_ASSOCIATE {"ASSOCIATEOBJID":"5","ASSOCIATEOBJTYPE":"14","ID":"7","TYPE":"245"})",
        LastRequest());
    views.AddLunGroup("7", "31");
    EXPECT_EQ(
        R"(PUT mappingview/CREATE_ASSOCIATE {"ASSOCIATEOBJID":"31","ASSOCIATEOBJTYPE":"256","ID":"7","TYPE":"245"})",
        LastRequest());

    m_server.Answer("PUT", BASE + "iscsi_initiator/add_iscsi_to_host", DONE);
    HandlerOf<CIscsiInitiatorHandler>(manager, HANDLER_ISCSI_INITIATOR).AddToHost({"iqn.x", "", ""}, "12");
    EXPECT_EQ(R"(PUT iscsi_initiator/add_iscsi_to_host {"ID":"iqn.x","PARENTID":"12","PARENTTYPE":"21","TYPE":"222"})",
              LastRequest());

    m_server.Answer("PUT", BASE + "fc_initiator/add_fc_to_host", DONE);
    HandlerOf<CFCInitiatorHandler>(manager, HANDLER_FC_INITIATOR).AddToHost({"21000024ff4b8c1a", "", ""}, "12");
    EXPECT_EQ(
        R"(PUT fc_initiator/add_fc_to_host {"ID":"21000024ff4b8c1a","PARENTID":"12","PARENTTYPE":"21","TYPE":"223"})",
        LastRequest());
}

TEST_F(SanManagerTest, NewInitiatorIsCreatedWithoutAParent)
{
    const Manager manager = Connected();
    m_server.Answer("POST", BASE + "iscsi_initiator",
                    Data(R"("ID":"iqn.x","NAME":"","TYPE":"222","PARENTID":"","RUNNINGSTATUS":"28")"));
    const IscsiInitiatorMO initiator =
        HandlerOf<CIscsiInitiatorHandler>(manager, HANDLER_ISCSI_INITIATOR).Create({"iqn.x", "", ""});
    EXPECT_EQ("iqn.x", initiator.id);
    EXPECT_EQ("", initiator.parentId);
    EXPECT_EQ(R"(POST iscsi_initiator {"ID":"iqn.x","TYPE":"222"})", LastRequest());
}

TEST_F(SanManagerTest, InitiatorThatTheArrayKnowsIsFetched)
{
    const Manager manager = Connected();
    m_server.Answer("POST", BASE + "fc_initiator", Refusal(1090519042, "The object exists."));
    m_server.Answer("GET", BASE + "fc_initiator/21000024ff4b8c1a",
                    Data(R"("ID":"21000024ff4b8c1a","NAME":"port","PARENTID":"12")"));
    const FCInitiatorMO initiator =
        HandlerOf<CFCInitiatorHandler>(manager, HANDLER_FC_INITIATOR).Create({"21000024ff4b8c1a", "", ""});
    EXPECT_EQ("12", initiator.parentId);
    EXPECT_EQ("port", initiator.name);
}

TEST_F(SanManagerTest, InitiatorThatIsNotThereEitherGivesTheErrorOfItsCreation)
{
    const Manager manager = Connected();
    m_server.Answer("POST", BASE + "iscsi_initiator", Refusal(50331651, "The entered parameter is incorrect."));
    m_server.Answer("GET", BASE + "iscsi_initiator/iqn.x", Refusal(1077948996, "The object does not exist."));
    EXPECT_EQ("create iSCSI initiator \"iqn.x\" failed: the array answered with error 50331651: The entered parameter "
              "is incorrect.",
              ErrorOf([&] {
                  HandlerOf<CIscsiInitiatorHandler>(manager, HANDLER_ISCSI_INITIATOR).Create({"iqn.x", "", ""});
              }));
}

TEST_F(SanManagerTest, LostConnectionIsNotTakenForAKnownInitiator)
{
    const Manager manager = Connected();
    const std::string error = ErrorOf([&] {
        HandlerOf<CIscsiInitiatorHandler>(manager, HANDLER_ISCSI_INITIATOR).Create({"iqn.x", "", ""});
    });
    EXPECT_EQ("create iSCSI initiator \"iqn.x\" failed: HTTP status 404 (Not Found) in answer to POST " + Url() + BASE +
                  "iscsi_initiator",
              error);
    EXPECT_EQ("POST", m_server.Requests().back().method);
}

TEST_F(SanManagerTest, ErrorsNameOperationObjectCodeAndDescription)
{
    const Manager manager = Connected();
    m_server.Answer("POST", BASE + "lungroup", Refusal(1090519042, "The object name already exists."));
    EXPECT_EQ(
        "create LUN group \"n\" failed: the array answered with error 1090519042: The object name already exists.",
        ErrorOf([&] {
            HandlerOf<CLunGroupHandler>(manager, HANDLER_LUN_GROUP).Create({"", "n"});
        }));
    m_server.Answer("POST", BASE + "host/associate", Refusal(-1, "busy"));
    EXPECT_EQ("add host \"1\" to host group \"2\" failed: the array answered with error -1: busy",
              ErrorOf([&] { HandlerOf<CHostGroupHandler>(manager, HANDLER_HOST_GROUP).AddHost("1", "2"); }));
}

TEST_F(SanManagerTest, AnswersOfAnotherFormAreErrors)
{
    const Manager manager = Connected();
    auto& hosts = HandlerOf<CHostHandler>(manager, HANDLER_HOST);
    const std::vector<std::string> answers = {"",
                                              "no json",
                                              "[]",
                                              "{}",
                                              R"({"error":0})",
                                              R"({"error":{}})",
                                              R"({"error":{"code":"text"}})",
                                              R"({"error":{"code":1e30}})",
                                              std::string(5000, '[')};
    for (const std::string& answer : answers) {
        m_server.Answer("GET", BASE + "host/1", answer);
        EXPECT_EQ("query host \"1\" failed: the array's answer is not of the form that it should have",
                  ErrorOf([&] { hosts.Query("1"); }))
            << answer;
    }
    for (const std::string data : {"{}", "[]", "null", "7", R"({"ID":{}})", R"({"ID":""})"}) {
        m_server.Answer("GET", BASE + "host/1", R"({"data":)" + data + R"(,"error":{"code":0}})");
        EXPECT_EQ("query host \"1\" failed: the array's answer names no id", ErrorOf([&] { hosts.Query("1"); }))
            << data;
    }
}

TEST_F(SanManagerTest, RefusalWithoutADescriptionIsAnErrorAsWell)
{
    const Manager manager = Connected();
    m_server.Answer("GET", BASE + "host/1", R"({"error":{"code":9,"description":{}}})");
    EXPECT_EQ("query host \"1\" failed: the array answered with error 9: no description",
              ErrorOf([&] { HandlerOf<CHostHandler>(manager, HANDLER_HOST).Query("1"); }));
}

} // namespace
