#include "tests/unit/rest/rest_test.h"

#include <boost/algorithm/string/replace.hpp>

#include <limits>

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class ZavRestApiInventoryTest : public LoggedInRestTest {};

// ---- single values

TEST_F(ZavRestApiInventoryTest, GetLunNameAndGetHostNameGiveTheName)
{
    std::string name;
    Tells(R"({"ID": "7", "NAME": "lun_7"})");
    EXPECT_EQ(0, m_api.GetLunName("7", name, m_errorText));
    EXPECT_EQ("lun_7", name);
    Tells(R"({"NAME": "host_7"})");
    EXPECT_EQ(0, m_api.GetHostName("7", name, m_errorText));
    EXPECT_EQ("host_7", name);
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line("GetLunName", 1, "Enter GetLunName"), CountLine(),
                            Line("GetLunName", 1, "End GetLunName"), Line("GetHostName", 1, "Enter GetHostName"),
                            CountLine(), Line("GetHostName", 1, "End GetHostName")));
}

TEST_F(ZavRestApiInventoryTest, GetLunCountGivesTheWholeRange)
{
    std::uint64_t count = 7;
    Tells(R"({"COUNT": "18446744073709551615"})");
    EXPECT_EQ(0, m_api.GetLunCount(count, m_errorText));
    EXPECT_EQ(std::numeric_limits<std::uint64_t>::max(), count);
    Tells(R"({"COUNT": 12})");
    EXPECT_EQ(0, m_api.GetLunCount(count, m_errorText));
    EXPECT_EQ(12U, count);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), CountLine()));
}

struct BadCount {
    const char* name;
    const char* data;
    const char* line;
};

void PrintTo(const BadCount& row, std::ostream* out)
{
    *out << row.data;
}

class ZavRestApiBadCountTest : public LoggedInRestTest, public ::testing::WithParamInterface<BadCount> {};

TEST_P(ZavRestApiBadCountTest, GetLunCountFailsAndKeepsTheOutput)
{
    std::uint64_t count = 7;
    Tells(GetParam().data);
    EXPECT_EQ(-1, m_api.GetLunCount(count, m_errorText));
    EXPECT_EQ(7U, count);
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("GetLunCount", 4, GetParam().line)));
}

INSTANTIATE_TEST_SUITE_P(Rows, ZavRestApiBadCountTest,
                         ::testing::Values(BadCount{"Missing", "{}", "The response param error."},
                                           BadCount{"List", "[]", "The response param error."},
                                           BadCount{"Object", R"({"COUNT": {}})", "The response param error."},
                                           BadCount{"Null", R"({"COUNT": null})", "Throw a exception."},
                                           BadCount{"Empty", R"({"COUNT": ""})", "Throw a exception."},
                                           BadCount{"Blank", R"({"COUNT": "1 "})", "Throw a exception."},
                                           BadCount{"Word", R"({"COUNT": "many"})", "Throw a exception."},
                                           BadCount{"TooLarge", R"({"COUNT": "18446744073709551616"})",
                                                    "Throw a exception."}),
                         [](const auto& row) { return row.param.name; });

/// How the operations that give one text take an answer.
struct TextAnswer {
    const char* name;
    const char* data;   ///< with MEMBER where the name of the text belongs
    int requiredResult; ///< of the operations that need the text
    int optionalResult; ///< of those that can do without
    const char* text;   ///< the output afterwards, which was "before"
};

void PrintTo(const TextAnswer& row, std::ostream* out)
{
    *out << row.data;
}

class ZavRestApiTextTest : public LoggedInRestTest, public ::testing::WithParamInterface<TextAnswer> {
protected:
    /// Lets `read` be answered by the row, under `member`, and checks all that comes of it.
    template <typename Read>
    void Expect(const std::string& operation, const std::string& member, int result, const Read& read)
    {
        m_log.Clear();
        Tells(boost::replace_all_copy(std::string(GetParam().data), "MEMBER", member));
        std::string text = "before";
        EXPECT_EQ(result, read(text));
        EXPECT_EQ(GetParam().text, text);
        EXPECT_EQ("untouched", m_errorText);
        std::vector<LineMatcher> lines = {CountLine()};
        if (result != 0) {
            lines.push_back(Line(operation, 4, "The response param error."));
        }
        EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
    }
};

TEST_P(ZavRestApiTextTest, GetLunNameAndGetHostNameNeedTheName)
{
    const int result = GetParam().requiredResult;
    Expect("GetLunName", "NAME", result,
           [this](std::string& text) { return m_api.GetLunName("7", text, m_errorText); });
    Expect("GetHostName", "NAME", result,
           [this](std::string& text) { return m_api.GetHostName("7", text, m_errorText); });
}

TEST_P(ZavRestApiTextTest, GetSerialNumAndGetProductModeDoWithout)
{
    const int result = GetParam().optionalResult;
    Expect("GetSerialNum", "ID", result, [this](std::string& text) { return m_api.GetSerialNum(text, m_errorText); });
    Expect("GetProductMode", "PRODUCTMODE", result,
           [this](std::string& text) { return m_api.GetProductMode(text, m_errorText); });
}

INSTANTIATE_TEST_SUITE_P(Rows, ZavRestApiTextTest,
                         ::testing::Values(TextAnswer{"Text", R"({"MEMBER": "x"})", 0, 0, "x"},
                                           TextAnswer{"EmptyText", R"({"MEMBER": ""})", 0, 0, ""},
                                           TextAnswer{"Number", R"({"MEMBER": 61})", 0, 0, "61"},
                                           TextAnswer{"Truth", R"({"MEMBER": true})", 0, 0, "true"},
                                           TextAnswer{"Null", R"({"MEMBER": null})", 0, 0, ""},
                                           TextAnswer{"Missing", R"({"OTHER": "x"})", -1, 0, "before"},
                                           TextAnswer{"NullData", "null", -1, 0, "before"},
                                           TextAnswer{"Object", R"({"MEMBER": {}})", -1, -1, "before"},
                                           TextAnswer{"List", R"({"MEMBER": ["x"]})", -1, -1, "before"},
                                           TextAnswer{"DataIsAList", R"([{"MEMBER": "x"}])", -1, -1, "before"},
                                           TextAnswer{"DataIsAText", R"("MEMBER")", -1, -1, "before"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ZavRestApiInventoryTest, AnAnswerWithoutDataTellsNothing)
{
    std::string text = "before";
    std::uint64_t count = 7;
    m_http.Always("GET", "", NoData());
    EXPECT_EQ(-1, m_api.GetLunName("7", text, m_errorText));
    EXPECT_EQ(-1, m_api.GetHostName("7", text, m_errorText));
    EXPECT_EQ(-1, m_api.GetLunCount(count, m_errorText));
    EXPECT_EQ(0, m_api.GetSerialNum(text, m_errorText));
    EXPECT_EQ(0, m_api.GetProductMode(text, m_errorText));
    EXPECT_EQ("before", text);
    EXPECT_EQ(7U, count);
}

// ---- storage pools

TEST_F(ZavRestApiInventoryTest, GetAllStoragePoolAppendsOneRecordForEachElement)
{
    std::vector<Zav::StoragePool> pools(1);
    Tells(R"([{"ID": "0", "NAME": "pool_0", "DESCRIPTION": "fast", "USERTOTALCAPACITY": "2097152",
               "USERFREECAPACITY": "1048576", "USERCONSUMEDCAPACITY": "1", "HEALTHSTATUS": "2", "USAGETYPE": "1"},
              {"ID": "5", "NAME": "pool_5", "USERTOTALCAPACITY": "3", "USERFREECAPACITY": "2",
               "USERCONSUMEDCAPACITY": "1", "HEALTHSTATUS": "1", "USAGETYPE": "2", "SECTORSIZE": "4096"}])");
    EXPECT_EQ(0, m_api.GetAllStoragePool(pools, m_errorText));
    EXPECT_EQ("untouched", m_errorText);

    ASSERT_THAT(pools, SizeIs(3));
    EXPECT_EQ(0U, pools[1].id);
    EXPECT_EQ("pool_0", pools[1].name);
    EXPECT_EQ("fast", pools[1].description);
    EXPECT_EQ(1073741824U, pools[1].totalCapacity);
    EXPECT_EQ(536870912U, pools[1].freeCapacity);
    EXPECT_EQ(512U, pools[1].consumedCapacity);
    EXPECT_EQ(2U, pools[1].healthStatus);
    EXPECT_EQ("1", pools[1].usageType);
    EXPECT_EQ(5U, pools[2].id);
    EXPECT_EQ("", pools[2].description);
    EXPECT_EQ(12288U, pools[2].totalCapacity);
    EXPECT_EQ(8192U, pools[2].freeCapacity);
    EXPECT_EQ(4096U, pools[2].consumedCapacity);
    EXPECT_EQ("2", pools[2].usageType);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine()));
}

TEST_F(ZavRestApiInventoryTest, GetAllStoragePoolKeepsTheRecordsBeforeABadOne)
{
    const std::string good = R"({"ID": "1", "USERTOTALCAPACITY": "1", "USERFREECAPACITY": "1",
                                 "USERCONSUMEDCAPACITY": "1", "HEALTHSTATUS": "1"})";
    const std::string bad = R"({"ID": "2", "USERTOTALCAPACITY": "1", "USERFREECAPACITY": "1",
                                "USERCONSUMEDCAPACITY": "1"})";
    std::vector<Zav::StoragePool> pools;
    Tells("[" + good + "," + bad + "," + good + "]");
    EXPECT_EQ(-1, m_api.GetAllStoragePool(pools, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    ASSERT_THAT(pools, SizeIs(1));
    EXPECT_EQ(1U, pools[0].id);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("GetAllStoragePool", 4,
                                                            "Throw a exception.HEALTHSTATUS is not a number: \"\"")));
}

// ---- LUNs

TEST_F(ZavRestApiInventoryTest, GetLunListByPageAppendsOneRecordForEachElement)
{
    std::vector<Zav::LunInfo> luns(1);
    Tells(R"([{"ID": "7", "NAME": "lun_7", "WWN": "6abc", "CAPACITY": "2097152", "HEALTHSTATUS": "1",
               "PARENTID": "3", "ALLOCTYPE": "1"},
              {"ID": "8", "CAPACITY": "2", "HEALTHSTATUS": "2", "PARENTID": "0", "ALLOCTYPE": "0",
               "SECTORSIZE": "4096"}])");
    EXPECT_EQ(0, m_api.GetLunListByPage(0, 100, luns, m_errorText));
    EXPECT_EQ("untouched", m_errorText);

    ASSERT_THAT(luns, SizeIs(3));
    EXPECT_EQ(7U, luns[1].id);
    EXPECT_EQ("lun_7", luns[1].name);
    EXPECT_EQ("6abc", luns[1].wwn);
    EXPECT_EQ(1073741824U, luns[1].capacity);
    EXPECT_EQ(1U, luns[1].healthStatus);
    EXPECT_EQ(3U, luns[1].parentId);
    EXPECT_EQ(1U, luns[1].allocationType);
    EXPECT_EQ(8U, luns[2].id);
    EXPECT_EQ("", luns[2].name);
    EXPECT_EQ("", luns[2].wwn);
    EXPECT_EQ(8192U, luns[2].capacity);
    EXPECT_EQ(2U, luns[2].healthStatus);
    EXPECT_THAT(m_log.Told(), ElementsAre(Line("GetLunListByPage", 1, "offSet :0, count100"), CountLine()));
}

TEST_F(ZavRestApiInventoryTest, GetLunListByPageAsksUpToOffsetPlusCount)
{
    std::vector<Zav::LunInfo> luns;
    m_http.Always("GET", "", Data("[]"));
    EXPECT_EQ(0, m_api.GetLunListByPage(0, 100, luns, m_errorText));
    EXPECT_EQ(0, m_api.GetLunListByPage(100, 100, luns, m_errorText));
    EXPECT_EQ(0, m_api.GetLunListByPage(18446744073709551614U, 1, luns, m_errorText));
    EXPECT_THAT(m_http.Lines(), ElementsAre("GET " + Url("lun?range=[0-100]"), "GET " + Url("lun?range=[100-200]"),
                                            "GET " + Url("lun?range=[18446744073709551614-18446744073709551615]")));
    EXPECT_THAT(luns, IsEmpty());
}

TEST_F(ZavRestApiInventoryTest, GetLunListByPageKeepsTheLunsBeforeABadOne)
{
    std::vector<Zav::LunInfo> luns;
    Tells(R"([{"ID": "1", "CAPACITY": "1", "HEALTHSTATUS": "1", "PARENTID": "0", "ALLOCTYPE": "0"},
              {"ID": "2", "CAPACITY": "large", "HEALTHSTATUS": "1", "PARENTID": "0", "ALLOCTYPE": "0"}])");
    EXPECT_EQ(-1, m_api.GetLunListByPage(0, 100, luns, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    ASSERT_THAT(luns, SizeIs(1));
    EXPECT_EQ(1U, luns[0].id);
    EXPECT_THAT(m_log.Told(),
                ElementsAre(Line("GetLunListByPage", 1, "offSet :0, count100"), CountLine(),
                            Line("GetLunListByPage", 4, "Throw a exception.CAPACITY is not a number: \"large\"")));
}

// ---- addresses

TEST_F(ZavRestApiInventoryTest, GetAllManagementV4IPsReplacesTheListAndTellsEachAddress)
{
    std::vector<std::string> ips = {"old"};
    Tells(R"([{"IPV4ADDR": "10.0.0.1"}, {"ID": "no address"}, {"IPV4ADDR": ""}, {"IPV4ADDR": "10.0.0.2"}])");
    EXPECT_EQ(0, m_api.GetAllManagementV4IPs(ips, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(ips, ElementsAre("10.0.0.1", "", "10.0.0.2"));
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("GetAllManagementV4IPs", 1, "Get a disk array management IPV4:10.0.0.1"),
                            Line("GetAllManagementV4IPs", 1, "Get a disk array management IPV4:"),
                            Line("GetAllManagementV4IPs", 1, "Get a disk array management IPV4:10.0.0.2")));
}

TEST_F(ZavRestApiInventoryTest, GetAllManagementV4IPsKeepsTheAddressesBeforeABadOne)
{
    std::vector<std::string> ips = {"old"};
    Tells(R"([{"IPV4ADDR": "10.0.0.1"}, {"IPV4ADDR": ["10.0.0.2"]}])");
    EXPECT_EQ(-1, m_api.GetAllManagementV4IPs(ips, m_errorText));
    EXPECT_THAT(ips, ElementsAre("10.0.0.1"));
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("GetAllManagementV4IPs", 1, "Get a disk array management IPV4:10.0.0.1"),
                            Line("GetAllManagementV4IPs", 4,
                                 "Throw a exception when try to query management IPV4:IPV4ADDR is not a text")));
}

TEST_F(ZavRestApiInventoryTest, GetStorageIPAppendsSilently)
{
    std::vector<std::string> ips = {"old"};
    Tells(R"([{"IPV4ADDR": "10.0.1.1"}, {"ID": "no address"}, {"IPV4ADDR": "10.0.1.2"}])");
    EXPECT_EQ(0, m_api.GetStorageIP(ips, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(ips, ElementsAre("old", "10.0.1.1", "10.0.1.2"));
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine()));
}

TEST_F(ZavRestApiInventoryTest, GetStorageIPKeepsTheAddressesBeforeABadOne)
{
    std::vector<std::string> ips;
    Tells(R"([{"IPV4ADDR": "10.0.1.1"}, "10.0.1.2"])");
    EXPECT_EQ(-1, m_api.GetStorageIP(ips, m_errorText));
    EXPECT_THAT(ips, ElementsAre("10.0.1.1"));
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("GetStorageIP", 4,
                                              "Throw a exception.element is not an object, looking for IPV4ADDR")));
}

} // namespace
