#include "apps/vellora/explore/Site.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "apps/http/Server.h"
#include "apps/vellora/explore/Page.h"
#include "tests/apps/vellora/explore/ExplorerFixture.h"
#include "tests/support/HttpClient.h"

namespace vellora::explore {
namespace {

using test::HttpClient;
using test::HttpReply;

class SiteTest : public ExplorerFixture {
 protected:
  SiteTest() : server(http::Server::listen({}).value()), site(explorer, server->port(), "the-key") {
    server->run([this](const http::Request& request, const http::Exchange& exchange) {
      site.handle(request, exchange);
    });
    host_ = "127.0.0.1:" + std::to_string(server->port());
  }

  ~SiteTest() override { server->stop(); }

  /// A request with the right host and the header lines that are given.
  [[nodiscard]] HttpReply ask(const std::string& line, const std::string& headers) const {
    HttpClient client(server->port());
    client.send(line + " HTTP/1.1\r\nHost: " + host_ + "\r\n" + headers + "Connection: close\r\n\r\n");
    return client.receive();
  }

  [[nodiscard]] HttpReply get(const std::string& target) const { return ask("GET " + target, key); }

  [[nodiscard]] HttpReply post(const std::string& target) const {
    return ask("POST " + target, key + "Origin: http://" + host_ + "\r\nContent-Length: 0\r\n");
  }

  const std::string key = "X-Vellora-Key: the-key\r\n";
  const std::unique_ptr<http::Server> server;
  const Site site;
  std::string host_;
};

TEST_F(SiteTest, TellsTheBrowserToTheLetterWhatThePageMayDo) {
  const auto reply = ask("GET /", "");
  EXPECT_EQ(reply.status, 200);
  const std::map<std::string, std::string> expected{
      {"content-type", "text/html;charset=UTF-8"},
      {"content-length", std::to_string(reply.body.size())},
      {"content-security-policy",
       "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
       "base-uri "
       "'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
       "trusted-types "
       "'none'"},
      {"x-content-type-options", "nosniff"},
      {"x-frame-options", "DENY"},
      {"referrer-policy", "no-referrer"},
      {"cross-origin-resource-policy", "same-origin"},
      {"cross-origin-opener-policy", "same-origin"},
      {"cache-control", "no-store"},
      {"connection", "close"},
  };
  EXPECT_EQ(reply.headers, expected);
}

TEST_F(SiteTest, ServesEachFileOfThePageWithItsType) {
  EXPECT_EQ(pageFiles().size(), 4U);
  for (const auto& file : pageFiles()) {
    const auto reply = ask("GET " + std::string(file.path), "");
    EXPECT_EQ(reply.status, 200) << file.path;
    EXPECT_EQ(reply.headers.at("content-type"), file.contentType);
    EXPECT_FALSE(file.contentType.empty()) << file.path;
    EXPECT_EQ(reply.body, file.text);
  }
}

TEST_F(SiteTest, ServesAPageOfLessThan200kBInTotal) {
  std::size_t total = 0;
  for (const auto& file : pageFiles()) {
    HttpClient client(server->port());
    client.send("GET " + std::string(file.path) + " HTTP/1.1\r\nHost: " + host_ +
                "\r\nConnection: close\r\n\r\n");
    const auto reply = client.receive();
    total += reply.body.size();
    for (const auto& [name, value] : reply.headers) total += name.size() + value.size() + 4;
  }
  EXPECT_GT(total, 20'000U);
  EXPECT_LT(total, 200'000U);
}

TEST_F(SiteTest, IsAPageOfOneScriptAndOneStyleSheet) {
  std::vector<std::string_view> paths;
  for (const auto& file : pageFiles()) paths.push_back(file.path);
  EXPECT_THAT(paths, testing::UnorderedElementsAre("/", "/page.css", "/main.js", "/favicon.svg"));
  const auto page = ask("GET /", "").body;
  EXPECT_NE(page.find("<link rel=\"stylesheet\" href=\"/page.css\">"), std::string::npos);
  EXPECT_NE(page.find("<script type=\"module\" blocking=\"render\" src=\"/main.js\">"), std::string::npos);
}

// A part that a file names instead of holding it would be asked for once that file has come.
TEST_F(SiteTest, HasFilesThatHoldAllTheirParts) {
  for (const auto& file : pageFiles()) {
    EXPECT_EQ(file.text.find("@import"), std::string_view::npos) << file.path;
    EXPECT_EQ(file.text.find("from\"./"), std::string_view::npos) << file.path;
    EXPECT_EQ(file.text.find("from \"./"), std::string_view::npos) << file.path;
  }
}

TEST_F(SiteTest, HasNeitherScriptNorStyleInItsMarkup) {
  const auto page = ask("GET /", "").body;
  for (const auto* inlined : {"<style", " style=", " onload", " onclick", "javascript:", "http:", "https:"})
    EXPECT_EQ(page.find(inlined), std::string::npos) << inlined;
  for (auto at = page.find("<script"); at != std::string::npos; at = page.find("<script", at + 1))
    EXPECT_EQ(page.find("></script>", at), page.find('>', at));
}

TEST_F(SiteTest, RefusesWhatTheGuardRefusesWithTheSameHeaders) {
  HttpClient client(server->port());
  client.send("GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n");
  const auto reply = client.receive();
  EXPECT_EQ(reply.status, 421);
  EXPECT_EQ(reply.headers.at("content-security-policy"),
            ask("GET /", "").headers.at("content-security-policy"));
  for (const auto* path :
       {"/api/state", "/api/types", "/api/presentations?names=Account", "/api/search-layout?names=Account",
        "/api/compact-layout?names=Account", "/api/lacking-layouts?names=Account"})
    EXPECT_EQ(ask(std::string("GET ") + path, "").status, 401) << path;
  EXPECT_EQ(ask("GET /main.js", "Sec-Fetch-Site: cross-site\r\n").status, 403);
  EXPECT_EQ(ask("GET /api/icon?id=icon-key-0", "Sec-Fetch-Site: cross-site\r\n").status, 403);
  EXPECT_EQ(network->count("/services/data/v50.0/search/layout?q=Account"), 0U);
}

TEST_F(SiteTest, ChangesNothingWithoutPostKeyAndOrigin) {
  const std::string target = "/api/server?reachable=false";
  const std::string origin = "Origin: http://" + host_ + "\r\n";
  EXPECT_EQ(ask("GET " + target, key + origin).status, 405);
  EXPECT_EQ(ask("POST " + target, key).status, 403);
  EXPECT_EQ(ask("POST " + target, key + "Origin: http://evil.example\r\n").status, 403);
  EXPECT_EQ(ask("POST " + target, origin).status, 401);
  EXPECT_EQ(ask("POST " + target, "X-Vellora-Key: other\r\n" + origin).status, 401);
  EXPECT_TRUE(explorer->state(0).reachable);
  EXPECT_EQ(post(target).status, 204);
  EXPECT_FALSE(explorer->state(0).reachable);
  EXPECT_EQ(post("/api/server?reachable=true").status, 204);
  EXPECT_TRUE(explorer->state(0).reachable);
  EXPECT_EQ(post("/api/server?reachable=maybe").status, 400);
}

TEST_F(SiteTest, AllowsTheMethodsThatFit) {
  for (const auto* method : {"POST", "PUT", "DELETE", "OPTIONS"}) {
    const auto reply = ask(std::string(method) + " /", key);
    EXPECT_EQ(reply.status, 405) << method;
    EXPECT_EQ(reply.headers.at("allow"), "GET, HEAD");
  }
  EXPECT_EQ(ask("HEAD /", "").body, "");
  EXPECT_EQ(ask("HEAD /", "").status, 200);
  EXPECT_EQ(ask("GET /api/prefetch", key + "Origin: http://" + host_ + "\r\n").headers.at("allow"), "POST");
  EXPECT_EQ(get("/nothing").status, 404);
  EXPECT_EQ(get("/../main.js").status, 404);
}

TEST_F(SiteTest, ShowsTheStateAsJson) {
  waitForPrefetch();
  const auto body = get("/api/state?after=0").body;
  EXPECT_EQ(
      body.substr(0, body.find(",\"themes\"")),
      R"({"server":"https://records.example/base","theme":"light","reachable":true,"prefetch":"loaded","ready":true)");
  for (const auto* member : {"\"themes\":{\"ageSeconds\":", "\"sObjects\":{\"ageSeconds\":",
                             "\"totals\":{\"hits\":", "\"entries\":[{\"number\":1,\"at\":"})
    EXPECT_NE(body.find(member), std::string::npos) << member;
  EXPECT_NE(get("/api/state?after=1").body.find("\"entries\":[{\"number\":2,"), std::string::npos);
  EXPECT_EQ(get("/api/state?after=x").status, 400);
}

TEST_F(SiteTest, ShowsTypesPresentationsAndLayoutsAsJson) {
  waitForPrefetch();
  EXPECT_EQ(
      get("/api/types").body,
      R"([{"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},)"
      R"({"name":"Note","label":"</script><b>","labelPlural":"Notes","createable":false}])");
  EXPECT_EQ(get("/api/types").headers.at("content-type"), "application/json;charset=UTF-8");
  EXPECT_EQ(
      get("/api/presentations?names=Note,%41ccount").body,
      R"-({"source":"cache","presentations":{"Account":{"info":{"apiName":"Account","color":"2F6FDE",)-"
      R"-("svgIconUrl":"https://records.example/base/icons/a.svg",)-"
      R"-("smallIconUrl":"https://other.example/a.png","largeIconUrl":"javascript:alert(1)",)-"
      R"-("label":"Account","labelPlural":"Accounts","createable":true},"svgIcon":"icon-key-0"},)-"
      R"-("Note":{"info":{"apiName":"Note","label":"</script><b>","labelPlural":"Notes","createable":false}}}})-");
  EXPECT_EQ(get("/api/search-layout?names=Account").body,
            R"({"source":"network","layout":{"objectType":"Account","searchColumns":[{"name":"Name",)"
            R"("label":"Name","field":"Name"}]}})");
  EXPECT_EQ(get("/api/search-layout?names=Note").body, R"({"source":"network"})");
  EXPECT_EQ(get("/api/compact-layout?names=Account").body,
            R"({"source":"network","layout":{"objectType":"Account","layoutFields":[{"apiName":"Name",)"
            R"("fieldType":"string","label":"Name","htmlFormatted":false}]}})");
}

TEST_F(SiteTest, ShowsAsJsonWhichTypesLackALayout) {
  waitForPrefetch();
  static_cast<void>(get("/api/search-layout?names=Account"));
  static_cast<void>(get("/api/compact-layout?names=Account"));
  EXPECT_EQ(post("/api/server?reachable=false").status, 204);
  EXPECT_EQ(get("/api/lacking-layouts?names=Account,Note").body,
            R"({"searchColumns":[],"headlines":[],"unanswered":{"Note":"the server has been taken away"}})");
}

TEST_F(SiteTest, RefusesNamesThatNoTypeHas) {
  std::string many = "a";
  for (int i = 0; i < 200; ++i) many += ",a";
  for (const std::string names : {"", ",", "a,", "%", "%ff", many.c_str()}) {
    EXPECT_EQ(get("/api/presentations?names=" + names).status, 400) << names;
    EXPECT_EQ(get("/api/search-layout?names=" + names).status, 400) << names;
    EXPECT_EQ(get("/api/lacking-layouts?names=" + names).status, 400) << names;
  }
  EXPECT_EQ(get("/api/presentations").status, 400);
  EXPECT_EQ(get("/api/presentations?names=a&theme=%").status, 400);
  EXPECT_EQ(get("/api/presentations?names=a&theme=%ff").status, 400);
  EXPECT_EQ(get("/api/compact-layout?names=a,b").status, 400);
}

TEST_F(SiteTest, ShowsPresentationsInTheThemeThatIsAskedFor) {
  waitForPrefetch();
  EXPECT_NE(get("/api/presentations?names=Account&theme=light").body.find("\"color\":\"2F6FDE\""),
            std::string::npos);
  EXPECT_NE(get("/api/presentations?names=Account&theme=d%61rk").body.find("\"color\":\"8FB4F5\""),
            std::string::npos);
  EXPECT_EQ(network->count("/services/data/v50.0/theme"), 1U);
}

TEST_F(SiteTest, HandsIconsOverAsDocumentsThatCanDoNothing) {
  waitForPrefetch();
  static_cast<void>(get("/api/presentations?names=Account"));
  const auto reply = ask("GET /api/icon?id=icon-key-0", "Sec-Fetch-Site: same-origin\r\n");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.headers.at("content-type"), "image/svg+xml");
  EXPECT_EQ(reply.headers.at("content-security-policy"),
            "default-src 'none'; frame-ancestors 'none'; sandbox");
  EXPECT_EQ(reply.headers.at("content-disposition"), "attachment");
  EXPECT_EQ(reply.headers.at("x-content-type-options"), "nosniff");
  for (const auto* id : {"", "?id=", "?id=0", "?id=icon-key-1", "?id=icon-key-00", "?id=icon-key-0%20"})
    EXPECT_EQ(get(std::string("/api/icon") + id).status, 404) << id;
}

TEST_F(SiteTest, StartsThePrefetchAgainWhenTold) {
  waitForPrefetch();
  const auto last = explorer->state(0).entries.back().number;
  EXPECT_EQ(post("/api/prefetch").status, 204);
  waitForPrefetch();
  const auto later = explorer->state(last).entries;
  EXPECT_TRUE(
      std::any_of(later.begin(), later.end(), [](const auto& entry) { return entry.source == "prefetch"; }));
  EXPECT_EQ(network->count("/services/data/v50.0/sobjects"), 1U);
}

TEST_F(SiteTest, RefreshesFromTheServerWhenToldAndSaysWhatHasChanged) {
  using testkit::StubNetwork;
  waitForPrefetch();
  EXPECT_EQ(get("/api/changes").body, R"({"number":0,"by":"","since":0,"types":{}})");
  network->answer("/services/data/v50.0/sobjects", StubNetwork::body(R"json({"sobjects":[
    {"name":"Account","keyPrefix":"001","label":"Customer","labelPlural":"Customers","createable":true},
    {"name":"Visit","label":"Visit","labelPlural":"Visits","createable":false}]})json"));
  network->answer("/services/data/v50.0/theme", StubNetwork::body(scriptedThemes));
  EXPECT_EQ(ask("GET /api/refresh", key + "Origin: http://" + host_ + "\r\n").status, 405);
  const auto reply = post("/api/refresh");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "{}");
  const auto changes = get("/api/changes").body;
  EXPECT_EQ(changes.substr(0, changes.find(",\"since\"")), R"({"number":1,"by":"refresh")");
  EXPECT_NE(changes.find(R"("types":{"Account":"changed","Note":"removed","Visit":"added"}})"),
            std::string::npos)
      << changes;
  EXPECT_NE(get("/api/state").body.find("\"changes\":1,"), std::string::npos);
}

TEST_F(SiteTest, SaysWhyARefreshHasFailed) {
  waitForPrefetch();
  EXPECT_EQ(post("/api/server?reachable=false").status, 204);
  EXPECT_EQ(
      post("/api/refresh").body,
      R"({"failure":"the server has been taken away","trouble":{"kind":"takenAway","status":0,)"
      R"("request":"/services/data/v50.0/sobjects","text":"the server has been taken away","words":""}})");
  EXPECT_EQ(explorer->changes().number, 0);
}

}  // namespace
}  // namespace vellora::explore
