#include "hostkit/network/TransferError.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

namespace vellora::hostkit {
namespace {

using Kind = CurlNetworkError::Kind;

constexpr const char* where = "records.example:443/theme";

TEST(TransferErrorTest, EveryKindHasWordsOfItsOwn) {
  const auto textOf = [](Kind kind) { return transferError(kind, where).text; };
  EXPECT_EQ(textOf(Kind::unreachable),
            "no connection to records.example:443/theme: check the address, and that the server runs");
  EXPECT_EQ(textOf(Kind::connectionLost),
            "the connection ended before records.example:443/theme had answered: try again");
  EXPECT_EQ(textOf(Kind::timedOut),
            "no answer in time from records.example:443/theme: try again, or give the request more time");
  EXPECT_EQ(textOf(Kind::tls),
            "no secure connection to records.example:443/theme: check the server's certificate, and that it "
            "speaks https");
  EXPECT_EQ(textOf(Kind::tooLarge),
            "too large a body from records.example:443/theme: raise the limit on bodies if it is right");
  EXPECT_EQ(
      textOf(Kind::tooManyValues),
      "too many values in the body from records.example:443/theme: raise the limit on values if it is right");
  EXPECT_EQ(textOf(Kind::refusedRedirect),
            "too many redirects by records.example:443/theme: check the server");
  EXPECT_EQ(textOf(Kind::protocol),
            "no valid HTTP answer from records.example:443/theme: "
            "check that a records server is at that address");
  EXPECT_EQ(
      textOf(Kind::shutDown),
      "the network was shut down before records.example:443/theme had answered: send it again on a new one");
  EXPECT_EQ(textOf(Kind::tooManyRequests),
            "too many requests wait already to be sent to records.example:443/theme: "
            "wait for some of their answers first");
  EXPECT_EQ(textOf(Kind::unavailable),
            "no means left to ask records.example:443/theme: free some memory, and try again");
}

TEST(TransferErrorTest, AHeadHasWordsOfItsOwn) {
  EXPECT_EQ(tooLargeHead(where),
            (CurlNetworkError{Kind::tooLarge,
                              "too large a head from records.example:443/theme: check the server"}));
}

TEST(TransferErrorTest, AStatusStandsWithItsPathAndTheServersWords) {
  EXPECT_EQ(statusError(404, "/theme", "Not Found"),
            (CurlNetworkError{Kind::errorStatus, "404 for /theme: Not Found", 404}));
  EXPECT_EQ(statusError(599, "/theme", ""), (CurlNetworkError{Kind::errorStatus, "599 for /theme", 599}));
}

TEST(TransferErrorTest, WhatCurlSaysStandsBehindThePlace) {
  EXPECT_EQ(transferError(CURLE_COULDNT_CONNECT, "refused", where),
            (CurlNetworkError{Kind::unreachable,
                              "no connection to records.example:443/theme (refused): "
                              "check the address, and that the server runs"}));
}

TEST(TransferErrorTest, CurlsCodesAreSortedByWhatCanBeDone) {
  const auto kindOf = [](CURLcode code) { return transferError(code, "", where).kind; };
  EXPECT_EQ(kindOf(CURLE_COULDNT_RESOLVE_HOST), Kind::unreachable);
  EXPECT_EQ(kindOf(CURLE_COULDNT_RESOLVE_PROXY), Kind::unreachable);
  EXPECT_EQ(kindOf(CURLE_OPERATION_TIMEDOUT), Kind::timedOut);
  EXPECT_EQ(kindOf(CURLE_FILESIZE_EXCEEDED), Kind::tooLarge);
  EXPECT_EQ(kindOf(CURLE_PEER_FAILED_VERIFICATION), Kind::tls);
  EXPECT_EQ(kindOf(CURLE_SSL_CONNECT_ERROR), Kind::tls);
  EXPECT_EQ(kindOf(CURLE_SSL_CACERT_BADFILE), Kind::tls);
  EXPECT_EQ(kindOf(CURLE_GOT_NOTHING), Kind::connectionLost);
  EXPECT_EQ(kindOf(CURLE_PARTIAL_FILE), Kind::connectionLost);
  EXPECT_EQ(kindOf(CURLE_RECV_ERROR), Kind::connectionLost);
  EXPECT_EQ(kindOf(CURLE_SEND_ERROR), Kind::connectionLost);
  EXPECT_EQ(kindOf(CURLE_OUT_OF_MEMORY), Kind::unavailable);
  EXPECT_EQ(kindOf(CURLE_WRITE_ERROR), Kind::unavailable);
  EXPECT_EQ(kindOf(CURLE_UNSUPPORTED_PROTOCOL), Kind::protocol);
}

}  // namespace
}  // namespace vellora::hostkit
