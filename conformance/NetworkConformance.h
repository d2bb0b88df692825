#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "conformance/Guarantee.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::conformance {

/// What you tell the suite of your network. Each test makes one of these, and brings its own server: plain
/// HTTP on a port of the loopback interface. It speaks HTTP/1.1, keeps connections open, closes one behind
/// its answer when the request says `Connection: close`, and so answers clients of HTTP/1.0, too.
///
/// Ownership: the suite owns the host of a test, and shares the networks that it connects. It lets go of a
/// network within a test, with a request under way.
///
/// Threads: used on the thread of the tests; the networks themselves are called from several.
class VELLORA_EXPORT NetworkHost {
 public:
  virtual ~NetworkHost() = default;

  /// A network for the server at that address, such as "http://127.0.0.1:40123". The host keeps no handle to
  /// it.
  [[nodiscard]] virtual std::shared_ptr<CorvaneSDK::Network> connect(const std::string& serverUrl) = 0;

  /// How long a completion may keep the tests waiting before it counts as never called. One that your network
  /// lets go of uncalled counts so at once. Only a network that loses completions takes so long, so this is
  /// no measure of speed. One that is called later, when its test is over, does no harm.
  [[nodiscard]] virtual std::chrono::milliseconds patience() const { return std::chrono::seconds(60); }

 protected:
  NetworkHost() = default;
  NetworkHost(const NetworkHost&) = default;
  NetworkHost& operator=(const NetworkHost&) = default;
};

/// What the contract demands of `Network`.
[[nodiscard]] VELLORA_EXPORT std::span<const Guarantee<NetworkHost>> networkGuarantees();

/// Adds to the program's tests one for each of these guarantees, called `suite.Guarantee`. Call it before
/// RUN_ALL_TESTS; `make` is called once in each test.
///
/// How your network authenticates a request is left to you.
VELLORA_EXPORT void registerNetworkConformance(const std::string& suite,
                                               const std::function<std::unique_ptr<NetworkHost>()>& make);

}  // namespace vellora::conformance
