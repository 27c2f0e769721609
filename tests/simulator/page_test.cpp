#include "simulator/page/page_files.h"
#include "tests/simulator/support/running_cluster.h"

#include <gmock/gmock.h>

#include <regex>
#include <set>

namespace ZavSimTest {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ZavSim::Code;

class PageTest : public ClusterTest {
protected:
    PageTest() { Start(); }

    HttpReply Browse(const std::string& target, const std::string& method = "GET", const std::string& url = "")
    {
        return HttpClient(url.empty() ? Url() : url)
            .Send(method, target, {{"Accept", "text/html,application/xhtml+xml,*/*;q=0.8"}});
    }

    int StatusOf(const std::string& method, const std::string& resource, const Headers& headers,
                 const std::string& body = "")
    {
        return HttpClient(Url()).Send(method, "/zavsim/" + resource, headers, body).status;
    }
};

TEST_F(PageTest, IsThereAtTheRootOfEachListenerForThoseWhoReadHtml)
{
    for (const std::string& url : {Url(), ClusterUrl()}) {
        const HttpReply page = Browse("/", "GET", url);
        EXPECT_EQ(200, page.status);
        EXPECT_EQ("text/html; charset=utf-8", page.Header("Content-Type"));
        EXPECT_THAT(page.body, HasSubstr("<!doctype html>"));
    }
    EXPECT_EQ(200, Browse("/?from=bookmark").status);
    EXPECT_EQ(404, HttpClient(Url()).Send("GET", "/", {{"Accept", "*/*"}}).status) << "for others there is nothing";
    EXPECT_EQ(404, Browse("/index.html").status);
    EXPECT_EQ(404, Browse("/", "POST").status);
}

TEST_F(PageTest, IsNoRequestOfTheArrays)
{
    Admin("POST", "faults", R"({"kind":"status","status":500,"count":0})");
    EXPECT_EQ(200, Browse("/").status);
    EXPECT_EQ(200, Browse("/zavsim/page/page.js").status);
    EXPECT_EQ(0U, Admin("GET", "journal").json["entries"].size());
    EXPECT_EQ(500, HttpClient(Url()).Send("GET", "/").status) << "as before";
    EXPECT_EQ(1U, Admin("GET", "journal").json["entries"].size());
}

TEST_F(PageTest, LoadsAndAsksNothingButItsOwn)
{
    for (const std::string target : {"/", "/zavsim/page/style.css", "/zavsim/page/page.js", "/zavsim/page/icon.svg"}) {
        const HttpReply file = Browse(target);
        EXPECT_EQ(200, file.status) << target;
        EXPECT_THAT(file.Header("Content-Security-Policy"),
                    AllOf(HasSubstr("default-src 'none'"), HasSubstr("script-src 'self'"),
                          HasSubstr("style-src 'self'"), HasSubstr("connect-src 'self'"), HasSubstr("img-src 'self'"),
                          HasSubstr("frame-ancestors 'none'"), Not(HasSubstr("unsafe"))));
        EXPECT_EQ("nosniff", file.Header("X-Content-Type-Options"));
        EXPECT_EQ("no-referrer", file.Header("Referrer-Policy"));
        EXPECT_EQ("same-origin", file.Header("Cross-Origin-Resource-Policy"));
        EXPECT_EQ("no-store", file.Header("Cache-Control"));
    }
}

TEST_F(PageTest, EveryFileIsThereThatAnotherNames)
{
    const std::regex reference("/zavsim/page/([a-z.]+)");
    const std::regex namespaceOfDrawings("http://www\\.w3\\.org/2000/svg");
    std::set<std::string> named{"index.html"};
    std::set<std::string> there;
    for (const ZavSim::PageFile& file : ZavSim::AllPageFiles()) {
        there.insert(std::string(file.name));
        const std::string text = std::regex_replace(std::string(file.text), namespaceOfDrawings, "");
        for (std::sregex_iterator each(text.begin(), text.end(), reference), end; each != end; ++each) {
            named.insert((*each)[1]);
        }
        EXPECT_THAT(text, AllOf(Not(HasSubstr("://")), Not(HasSubstr("innerHTML")), Not(HasSubstr("style="))))
            << file.name << " must not lead elsewhere, nor take a text for markup";
    }
    EXPECT_EQ(there, named);
    EXPECT_EQ(404, Browse("/zavsim/page/nothing.js").status);
    EXPECT_EQ(405, Browse("/zavsim/page/page.js", "DELETE").status);
}

TEST_F(PageTest, PageOfAnotherSiteChangesAndReadsNothing)
{
    const std::string fault = R"({"kind":"drop"})";
    for (const char* const site : {"cross-site", "same-site"}) {
        EXPECT_EQ(403, StatusOf("POST", "faults", {{"Sec-Fetch-Site", site}}, fault)) << site;
        EXPECT_EQ(403, StatusOf("GET", "journal", {{"Sec-Fetch-Site", site}})) << site;
        EXPECT_EQ(403, StatusOf("GET", "events", {{"Sec-Fetch-Site", site}})) << site;
    }
    EXPECT_EQ(403, StatusOf("POST", "faults", {{"Origin", ClusterUrl()}}, fault)) << "another port is another origin";
    EXPECT_EQ(403, StatusOf("POST", "faults", {{"Origin", "http://localhost:8088"}}, fault));
    EXPECT_EQ(403, StatusOf("POST", "faults",
                            {{"Host", "rebound.example:8088"}, {"Origin", "http://rebound.example:8088"}}, fault));
    EXPECT_EQ(0U, Admin("GET", "faults").json.size());
    EXPECT_EQ(200, StatusOf("POST", "faults", {{"Origin", Url()}, {"Sec-Fetch-Site", "same-origin"}}, fault));
    EXPECT_EQ(200, StatusOf("POST", "faults", {{"Host", "localhost:8088"}, {"Origin", "http://localhost:8088"}}, fault))
        << "the page, opened by the machine's own name";
    EXPECT_EQ(200, StatusOf("GET", "journal", {{"Sec-Fetch-Site", "none"}})) << "somebody typed the address";
}

TEST_F(PageTest, ObjectsCodesAndKindsOfFaultsCanBeReadOneByOne)
{
    ArrayClient client(Url());
    client.Login();
    client.Make("host", "h");
    EXPECT_EQ("h", Admin("GET", "objects/host/1").json["NAME"].asString());
    EXPECT_EQ("LUN_000003", Admin("GET", "objects/lun/3").json["NAME"].asString());
    EXPECT_EQ(404, Admin("GET", "objects/host/7").status);
    EXPECT_EQ(404, Admin("GET", "objects/lun/99").status);
    EXPECT_EQ(404, Admin("GET", "objects/disk/1").status);
    const Json::Value inventory = Admin("GET", "inventory").json;
    EXPECT_EQ("ZAVSIM0000000001", inventory["system"]["ID"].asString());
    EXPECT_EQ(2U, inventory["pools"].size());
    EXPECT_EQ("HostGone", Admin("GET", "codes").json["array"]["1077937498"].asString());
    const Json::Value kinds = Admin("GET", "fault-kinds").json;
    EXPECT_EQ("code", kinds[0]["kind"].asString());
    EXPECT_EQ("code", kinds[0]["needs"][0].asString());
}

} // namespace
} // namespace ZavSimTest
