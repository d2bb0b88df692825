#include "hostkit/network/CurlRequest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "tests/support/Requests.h"

namespace vellora::hostkit {
namespace {

using CorvaneSDK::NetRequest;
using testing::StartsWith;
using tests::get;
using Lines = std::vector<std::string>;

const ServerAddress server = ServerAddress::parse("https://records.example").value();

CurlRequest prepared(const NetRequest& request) {
  return CurlRequest::prepare(request, server, {}).value();
}

TEST(CurlRequestTest, ResolvesTheUrlAndAsksForWhatTheLibraryReads) {
  const CurlRequest request = prepared(get("/services/data?q=a"));
  EXPECT_EQ(request.url, "https://records.example:443/services/data?q=a");
  EXPECT_EQ(request.headerLines, (Lines{"Accept-Encoding: gzip", "Accept: application/json"}));
  EXPECT_EQ(request.token, "");
}

TEST(CurlRequestTest, TheRequestsHeadersComeBeforeItsOwn) {
  URLRequest base = get("/x").base();
  base.headers = {{"accept", "*/*"}, {"X-Empty", ""}, {"X-Tab", "a\tb"}};
  EXPECT_EQ(prepared(NetRequest(base)).headerLines,
            (Lines{"X-Empty;", "X-Tab: a\tb", "accept: */*", "Accept-Encoding: gzip"}));
}

TEST(CurlRequestTest, AddsTheToken) {
  const auto request =
      CurlRequest::prepare(get("/x"), server, {[] { return std::optional<std::string>("t0k.-_~+/="); }});
  EXPECT_EQ(request.value().headerLines.back(), "Authorization: Bearer t0k.-_~+/=");
  EXPECT_EQ(request.value().token, "t0k.-_~+/=");
}

TEST(CurlRequestTest, AnotherTokenTakesThePlaceOfItsOwn) {
  const auto request =
      CurlRequest::prepare(get("/x"), server, {[] { return std::optional<std::string>("older"); }});
  const CurlRequest again = request.value().withToken("newer", server).value();
  EXPECT_EQ(again.headerLines.back(), "Authorization: Bearer newer");
  EXPECT_EQ(again.token, "newer");
  EXPECT_FALSE(again.hasOwnCredentials());
}

TEST(CurlRequestTest, TellsATokenThatIsTooLongFromOneWithABlank) {
  const auto faultOf = [](const std::string& token) {
    return CurlRequest::prepare(get("/x"), server, {[&] { return std::optional(token); }})
        .error()
        .localizedDescription();
  };
  const std::string start = "a request to records.example:443 was not sent: the token ";
  std::string token(KnownSecrets::longest, 't');
  token.front() = ' ';
  EXPECT_THAT(faultOf(token), StartsWith(start + "is empty or holds a blank"));
  token += 't';
  EXPECT_THAT(faultOf(token), StartsWith(start + "is longer than any server takes"));
}

TEST(CurlRequestTest, KeepsTheTokenFromNetworksWhereItCouldBeRead) {
  const auto token = [] { return std::optional<std::string>("t0k"); };
  const auto refused = [&](const std::string& address, bool allowed) {
    const auto request =
        CurlRequest::prepare(get("/x"), ServerAddress::parse(address).value(), {token, allowed});
    if (!request) {
      EXPECT_EQ(request.error().as<CurlNetworkError>()->kind, CurlNetworkError::Kind::unprotectedToken);
    }
    return !request;
  };
  EXPECT_TRUE(refused("http://records.example", false));
  EXPECT_TRUE(refused("http://10.0.0.1:8080", false));
  EXPECT_TRUE(refused("http://localhost.example", false));
  EXPECT_FALSE(refused("http://records.example", true));
  EXPECT_FALSE(refused("https://records.example", false));
  for (const char* here : {"http://localhost:8080", "http://127.0.0.1:8080", "http://[::1]:8080"}) {
    EXPECT_FALSE(refused(here, false)) << here;
  }
  const ServerAddress elsewhere = ServerAddress::parse("http://records.example").value();
  EXPECT_TRUE(CurlRequest::prepare(get("/x"), elsewhere, {[] { return std::optional<std::string>(); }}));
  EXPECT_EQ(
      CurlRequest::prepare(get("/x"), elsewhere, {token}).error().localizedDescription(),
      "a request to records.example:80 was not sent: over http everybody on the way could read the token: "
      "give the server's https address");
}

TEST(CurlRequestTest, DoesNotAskForATokenThatIsNotSent) {
  const auto mustNotBeAsked = []() -> std::optional<std::string> {
    ADD_FAILURE() << "asked for a token";
    return std::nullopt;
  };
  URLRequest authorized = get("/x").base();
  authorized.headers = {{"AUTHORIZATION", "Basic eDp5"}};
  EXPECT_TRUE(CurlRequest::prepare(NetRequest(authorized), server, {mustNotBeAsked}));
  EXPECT_FALSE(CurlRequest::prepare(get("//other.example/"), server, {mustNotBeAsked}));
}

TEST(CurlRequestTest, NotesTheLastWordOfAnAuthorizationWhateverBlanksAreAroundIt) {
  for (const char* const value :
       {"Bearer secret-5f1c2b", "Basic secret-5f1c2b \t", "Bearer\tsecret-5f1c2b ", "secret-5f1c2b  "}) {
    KnownSecrets secrets;
    URLRequest base = get("/x").base();
    base.headers = {{"AUTHORIZATION", value}};
    prepared(NetRequest(base)).noteSecretsIn(secrets);
    EXPECT_EQ(secrets.cleaned("Basic secret-5f1c2b"), "Basic [token]") << value;
  }
}

TEST(CurlRequestTest, NotesNothingOfAnAuthorizationOfBlanks) {
  KnownSecrets secrets;
  URLRequest base = get("/x").base();
  base.headers = {{"Authorization", " \t"}};
  prepared(NetRequest(base)).noteSecretsIn(secrets);
  EXPECT_EQ(secrets.cleaned("Authorization:\tnone"), "Authorization:\tnone");
}

TEST(CurlRequestTest, SaysWhyItRefuses) {
  URLRequest base = get("/x").base();
  base.headers = {{"X-Evil", "a\nb"}};
  const auto refused = CurlRequest::prepare(NetRequest(base), server, {});
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().localizedDescription(),
            "a request to records.example:443 was not sent: the value of its header X-Evil holds a control "
            "character");
}

TEST(CurlRequestTest, NotesNothingOfAnEmptyAuthorization) {
  KnownSecrets secrets;
  URLRequest base = get("/x").base();
  base.headers = {{"Authorization", ""}};
  prepared(NetRequest(base)).noteSecretsIn(secrets);
  EXPECT_EQ(secrets.cleaned("Authorization;"), "Authorization;");
}

TEST(CurlRequestTest, AControlCharacterInAHeaderIsRefusedAndAnyOtherIsNot) {
  const auto isRefused = [](const std::string& value) {
    URLRequest base = get("/x").base();
    base.headers = {{"X-A", value}};
    return !CurlRequest::prepare(NetRequest(base), server, {});
  };
  for (const char control : {'\x01', '\x1f', '\x7f'}) EXPECT_TRUE(isRefused({'a', control, 'b'}));
  for (const char allowed : {'\t', ' ', '!', '~', '\x80', '\xff'})
    EXPECT_FALSE(isRefused({'a', allowed, 'b'}));
}

TEST(CurlRequestTest, KeepsToSensibleTimes) {
  EXPECT_EQ(prepared(get("/x", 0.25)).timeout, 0.25);
  EXPECT_EQ(prepared(get("/x", 1e300)).timeout, 86'400.0);
  EXPECT_EQ(prepared(get("/x", HUGE_VAL)).timeout, 86'400.0);
  for (const double useless : {0.0, -5.0, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(prepared(get("/x", useless)).timeout, 60.0) << useless;
  }
}

TEST(CurlRequestTest, KnowsCredentialsThatAreNotTheTokens) {
  const std::string own = "authorization: Basic x";
  const std::string ofTheToken = "Authorization: Bearer t";
  const auto request = [](std::vector<std::string> lines, const std::string& token) {
    return CurlRequest{.url = "", .headerLines = std::move(lines), .timeout = 1, .token = token};
  };
  EXPECT_TRUE(request({"Accept: */*", own}, "").hasOwnCredentials());
  EXPECT_TRUE(request({"Authorization;"}, "").hasOwnCredentials());
  EXPECT_TRUE(request({ofTheToken}, "").hasOwnCredentials());
  EXPECT_TRUE(request({"Authorization: Bearer "}, "").hasOwnCredentials());
  EXPECT_TRUE(request({ofTheToken, own}, "t").hasOwnCredentials());
  EXPECT_FALSE(request({ofTheToken}, "t").hasOwnCredentials());
  EXPECT_FALSE(
      request({"Accept: */*", "X-Authorization: x", "Authorization-Info: x"}, "").hasOwnCredentials());
}

}  // namespace
}  // namespace vellora::hostkit
