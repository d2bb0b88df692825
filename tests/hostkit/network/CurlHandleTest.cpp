#include "hostkit/network/CurlHandle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <string_view>

#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using tests::ScriptedServer;

/// Keeps what comes, and takes no body when it is told so.
class KeepingReceiver final : public CurlHandle::Receiver {
 public:
  bool takeHeadLine(std::string_view line) override {
    head += line;
    return takesHeads;
  }
  bool takeBody(std::string_view piece) override {
    if (!hasMemory) throw std::bad_alloc();
    body += piece;
    return takesBodies;
  }

  std::string head;
  std::string body;
  bool takesHeads = true;
  bool takesBodies = true;
  bool hasMemory = true;
};

/// A handle that this thread drives to the end, and a server that it asks for "/theme".
class CurlHandleTest : public testing::Test {
 protected:
  CURLcode perform() { return curl_easy_perform(handle.easy()); }

  ScriptedServer server;
  const TransferSetting setting{.server = ServerAddress::parse(server.url()).value(),
                                .caFile = {},
                                .maxBodyBytes = 100,
                                .connectTimeout = 15,
                                .observer = {}};
  const CurlRequest request{
      .url = server.url() + "/theme", .headerLines = {"X-One: 1", "X-Empty;"}, .timeout = 60, .token = {}};
  Connections connections;
  KeepingReceiver receiver;
  CurlHandle handle;
};

TEST_F(CurlHandleTest, SendsTheRequestAndHandsOverTheAnswer) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_OK);

  EXPECT_THAT(server.requests()[0],
              AllOf(StartsWith("GET /theme HTTP/1.1\r\n"), HasSubstr("User-Agent: vellora/"),
                    HasSubstr("X-One: 1\r\nX-Empty:\r\n")));
  EXPECT_EQ(receiver.head, "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n");
  EXPECT_EQ(receiver.body, "{}");
  EXPECT_EQ(handle.statusCode(), 200);
  EXPECT_EQ(handle.announcedLength(), 2U);
  EXPECT_EQ(handle.effectiveUrl(), request.url);
  EXPECT_EQ(handle.redirectTarget(), "");
}

TEST_F(CurlHandleTest, ABodyThatIsNotTakenEndsTheTransfer) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  receiver.takesBodies = false;
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_WRITE_ERROR);
}

TEST_F(CurlHandleTest, ALineOfTheHeadThatIsNotTakenEndsTheTransfer) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  receiver.takesHeads = false;
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_WRITE_ERROR);
  EXPECT_EQ(receiver.head, "HTTP/1.1 200 OK\r\n");
}

TEST_F(CurlHandleTest, AReceiverWithoutMemoryEndsTheTransferNotTheProcess) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  receiver.hasMemory = false;
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_WRITE_ERROR);
}

TEST_F(CurlHandleTest, TellsWhetherTheRequestWasSent) {
  server.reply({"", ScriptedServer::Then::close});
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_FALSE(handle.wasSent());
  EXPECT_EQ(perform(), CURLE_GOT_NOTHING);
  EXPECT_TRUE(handle.wasSent());
}

TEST_F(CurlHandleTest, NothingIsSentOnAConnectionOnWhichSomethingWaits) {
  server.replyAlways(ScriptedServer::http("200 OK", "{}"));
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_OK);
  EXPECT_EQ(handle.connectionState(), Connections::State::fresh);
  EXPECT_EQ(perform(), CURLE_OK);
  EXPECT_EQ(handle.connectionState(), Connections::State::kept);

  server.push("unasked");
  EXPECT_EQ(perform(), CURLE_ABORTED_BY_CALLBACK);
  EXPECT_EQ(handle.connectionState(), Connections::State::spoilt);
  EXPECT_EQ(server.requests().size(), 2U);

  ASSERT_TRUE(handle.useFreshConnection());
  EXPECT_EQ(perform(), CURLE_OK);
  EXPECT_EQ(handle.connectionState(), Connections::State::fresh);
  EXPECT_EQ(server.connections(), 2U);
}

TEST_F(CurlHandleTest, FollowsNoRedirectByItselfButWhereItIsAimed) {
  server.reply(ScriptedServer::http("302 Found", "", {"Location: /here"}));
  server.reply(ScriptedServer::http("200 OK", "found"));
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_OK);
  EXPECT_EQ(handle.statusCode(), 302);
  EXPECT_EQ(server.requests().size(), 1U);

  ASSERT_TRUE(handle.redirectTo(handle.redirectTarget()));
  EXPECT_EQ(perform(), CURLE_OK);
  EXPECT_EQ(receiver.body, "found");
  EXPECT_EQ(handle.effectiveUrl(), server.url() + "/here");
}

TEST_F(CurlHandleTest, TellsWhyItFailed) {
  server.reply({"", ScriptedServer::Then::close});
  ASSERT_TRUE(handle.prepare(request, setting, connections, receiver));
  EXPECT_EQ(perform(), CURLE_GOT_NOTHING);
  EXPECT_EQ(handle.reasonFor(CURLE_GOT_NOTHING), "Empty reply from server");
  EXPECT_EQ(CurlHandle().reasonFor(CURLE_COULDNT_CONNECT), curl_easy_strerror(CURLE_COULDNT_CONNECT));
}

}  // namespace
}  // namespace vellora::hostkit
