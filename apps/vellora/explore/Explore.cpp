#include "apps/vellora/explore/Explore.h"

#include <unistd.h>

#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "apps/http/Server.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/explore/Explorer.h"
#include "apps/vellora/explore/IconStore.h"
#include "apps/vellora/explore/Site.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::command {

namespace {

/// 128 random bits in hexadecimal digits; empty when the machine gives none.
std::string newKey() {
  std::array<unsigned char, 16> bytes{};
  if (::getentropy(bytes.data(), bytes.size()) != 0) return {};
  constexpr std::string_view digits = "0123456789abcdef";
  std::string key;
  for (const auto byte : bytes) key += {digits[byte / 16], digits[byte % 16]};
  return key;
}

/// The way to the server's icons: without the user's token, since the server chooses their addresses, and
/// with connections of its own, so that icons that stall hold up no lookup.
Result<std::shared_ptr<CorvaneSDK::Network>> openIconNetwork(const Arguments& arguments) {
  auto network = hostkit::CurlNetwork::make(
      {.server = arguments.server, .maxBodyBytes = explore::IconStore::mostBytes, .connectTimeout = 5});
  if (!network) return network.error();
  return std::shared_ptr<CorvaneSDK::Network>(
      std::make_shared<hostkit::CoalescingNetwork>(std::move(network).value()));
}

http::Response refusal(int status, std::string_view message) {
  return explore::secured(explore::plainText(status, std::string(message)));
}

}  // namespace

ExitCode explore(const Arguments& arguments, const Session& session) {
  const auto key = newKey();
  const auto iconKey = newKey();
  if (key.empty() || iconKey.empty())
    return complain({ExitCode::unexpected, "the machine gives no random numbers"});
  const auto server = http::Server::listen({.port = arguments.port, .refusal = refusal});
  if (!server) return complain({ExitCode::usage, server.error().localizedDescription()});
  const auto port = server.value()->port();
  auto icons = openIconNetwork(arguments);
  if (!icons) return complain({ExitCode::unexpected, icons.error().localizedDescription()});
  const auto explorer = std::make_shared<explore::Explorer>(
      session.api(), arguments, explore::IconSource{std::move(icons).value(), iconKey}, session.secrets());
  const auto site = std::make_shared<explore::Site>(explorer, port, key);
  server.value()->run([site](const http::Request& request, const http::Exchange& exchange) {
    site->handle(request, exchange);
  });

  if (!print("http://127.0.0.1:" + std::to_string(port) + "/#key=" + key + "\n")) return ExitCode::unexpected;
  std::cerr << "vellora: open that address in a browser; Ctrl-C ends this\n";
  for (;;) ::pause();
}

}  // namespace vellora::command
