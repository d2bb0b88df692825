#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/hostkit/network/CurlNetworkFixture.h"

namespace vellora::hostkit {

/// A network that asks with conditions, and keeps bodies in a cache in memory.
class CurlNetworkConditionFixture : public CurlNetworkFixture {
 protected:
  CurlNetworkConditionFixture() { remake(keeping()); }
  ~CurlNetworkConditionFixture() override { network.reset(); }  // it uses what is here

  [[nodiscard]] CurlNetwork::Options keeping() {
    CurlNetwork::Options options{.server = server.url()};
    options.token = [this] { return std::optional(token); };
    options.bodies = host.cache;
    options.observer = [this](const RequestOutcome& outcome) { outcomes.push_back(outcome); };
    return options;
  }

  static tests::ScriptedServer::Reply tagged(const std::string& body, const std::string& tag = "\"1\"") {
    return tests::ScriptedServer::http("200 OK", body, {"ETag: " + tag, "X-From: first"});
  }

  static tests::ScriptedServer::Reply unchanged(const std::vector<std::string>& headers = {}) {
    std::string head = "HTTP/1.1 304 Not Modified\r\n";
    for (const auto& header : headers) head += header + "\r\n";
    return {head + "\r\n"};
  }

  /// What the request of that number asks with; empty for none.
  [[nodiscard]] std::string conditionOf(std::size_t number) const {
    const std::string text = server.requests().at(number);
    for (const char* name : {"If-None-Match: ", "If-Modified-Since: "}) {
      const auto at = text.find(name);
      if (at != std::string::npos) return text.substr(at, text.find('\r', at) - at);
    }
    return "";
  }

  const BodiesCache host;
  std::string token = "secret-token-1";
  std::vector<RequestOutcome> outcomes;  // on the network's thread, until it has answered
};

}  // namespace vellora::hostkit
