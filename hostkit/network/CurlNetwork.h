#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/network/RequestOutcome.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// A network on libcurl: HTTP/2 where the server has it over TLS, kept connections, each with one request at
/// a time and eight at most, gzip, TLS with verification.
///
///     CurlNetwork::Options options{.server = "https://records.example"};
///     options.token = [] { return readToken(); };
///     auto network = CurlNetwork::make(std::move(options));
///     if (!network) return fail(network.error().localizedDescription());
///
/// An answer with a status from 200 to 299 is delivered as it came: body, status, headers (names in lower
/// case, values of one name joined with ", "). A complete answer without a body, such as a 204, has an empty
/// `Data`. Any other status is an error, with status, path and the server's own words.
///
/// The token goes to the server of `Options::server` and nowhere else. Over http it goes to this machine
/// only: a request that would take it to another machine fails with `unprotectedToken` and is not sent,
/// unless `Options::allowTokenOverPlainHttp` is set.
///
/// When the server refuses the token with a 401, another one is asked for, and the request is sent once more
/// if there is one.
///
/// A connection is used again only if nothing has come on it since its last answer. A 408 on one that is used
/// again belongs to nobody: the request is sent once more, on a new one.
///
/// Redirects are followed within that scheme, host and port, five at most; any other is an error.
///
/// Proxies are taken from the environment as curl does, for https only, where they see no more than the
/// server's name. A request to a loopback address never goes through one.
///
/// Ownership: a request does not keep its network alive. Dropping the last handle completes every pending
/// request with a `shutDown` error before the destructor returns. When a completion drops that handle, they
/// follow as soon as that completion returns.
///
/// Threads: `sendRequest` may be called from any thread, also from a completion. Completions, the observer
/// and the token's renewal run on the network's own thread, one at a time and with no lock held; so a slow
/// one delays the others. So does a slow cache of `Options::bodies`, which is called there and by
/// `sendRequest`; no request's time counts that. A request sent while the network is being destroyed
/// completes inside `sendRequest`. The destructor waits for the completions: do not hold a lock there that
/// one of them needs.
///
/// Errors: `CurlNetworkError`. An error comes without a body; half a body is an error.
///
/// Units: seconds, bytes.
class VELLORA_EXPORT CurlNetwork final : public CorvaneSDK::Network {
 public:
  /// Gives the bearer token to send, or nothing to send none. Asked on the thread that calls `sendRequest`,
  /// before it returns, for each request without an `Authorization` header of its own; so a renewed token is
  /// used at once. Without `renewedToken` it is also asked on the network's own thread, after a 401: it must
  /// be safe to call from several threads. A token must be printable ASCII without blanks and no longer than
  /// `longestToken`, else the request fails with `badToken` and is not sent.
  using TokenProvider = std::function<std::optional<std::string>()>;

  /// How long a token may be, in bytes: as long as it can be kept out of texts.
  static constexpr std::size_t longestToken = KnownSecrets::longest;

  /// Gives the token to send in place of `refused`, which the server has answered with a 401. Nothing, or the
  /// same one again, makes that 401 the request's error. With several requests under way it is asked for
  /// each: give what you have if that is another one than `refused`, and renew it only if not. Runs on the
  /// network's own thread: it must not wait for an answer of this network.
  using TokenRenewal = std::function<std::optional<std::string>(const std::string& refused)>;

  /// Told of each request once, when it has ended, right before its completion is called.
  using Observer = std::function<void(const RequestOutcome&)>;

  struct Options {
    /// The server's address: https or http, host, perhaps a port and a path under which the server lives.
    std::string server;
    TokenProvider token = {};
    /// Absent: `token` is asked again.
    TokenRenewal renewedToken = {};
    /// Lets the token go over http to another machine, where everybody on the way can read and use it. Only
    /// for a network that you trust as a whole.
    bool allowTokenOverPlainHttp = false;
    /// A PEM file of the certificate authorities to trust; absent: the system's.
    std::optional<std::string> caFile = {};
    /// A larger body, counted after decompression, fails the request with `tooLarge`. So does a packed one of
    /// more than a MiB that unpacks to more than a hundred times its length.
    std::size_t maxBodyBytes = std::size_t{64} * 1024 * 1024;
    /// A body with more JSON values, counted as commas and opening brackets, fails with `tooManyValues`:
    /// reading one takes up to a hundred times the memory of its text.
    std::size_t maxBodyValues = 1'000'000;
    /// How long connecting may take, a day at most. The request as a whole, redirects included, may take its
    /// `timeoutInterval`, counted from when it is sent: 60 seconds where that is no positive number, a day at
    /// most. Eight are sent at a time. One that waits fails with `timedOut`, unsent, when no request has been
    /// answered for as long as its own `timeoutInterval`.
    double connectTimeout = 15;
    Observer observer = {};
    /// How many requests may wait until they are sent. A further one fails with `tooManyRequests`.
    std::size_t maxWaiting = 100'000;
    /// Takes in each token and each `Authorization` header that is sent, so that the host can clean what else
    /// may quote the server; absent: the network's own. The texts of its errors are clean of them.
    std::shared_ptr<KnownSecrets> secrets = {};
    /// Where bodies are kept that came with an `ETag` or a `Last-Modified`, so that the next request for such
    /// a body asks for it only if it has changed. A 304 is answered with the body that was kept: to the
    /// completion it is a 200 like any other. Nothing is kept as long as the library has not used this cache.
    /// Absent: no request has a condition. See docs/guides/good-client.md.
    std::shared_ptr<CorvaneSDK::Cache> bodies = {};
    /// Whose bodies these are, whatever token is sent: a text that tells server and user. Absent: each token
    /// has bodies of its own, and a renewed one begins without.
    std::optional<std::string> bodiesOf = {};
    /// How many bytes of bodies are kept at most. One of more than a quarter of that is not kept.
    std::size_t maxKeptBytes = std::size_t{16} * 1024 * 1024;
    /// Leaves a server alone that has answered 429 or 503: for as long as its `Retry-After` says, an hour at
    /// most, else for a quarter of a second, and twice as long each time, up to five minutes. Until then each
    /// request fails at once, unsent, with that status and what is left of the time as `retryAfter`.
    bool pausesWhenRefused = false;
  };

  /// A network for that server. Fails when the address cannot be used, saying why, or when the machine gives
  /// no thread. Does not connect yet.
  [[nodiscard]] static Result<std::shared_ptr<CurlNetwork>> make(Options options);

  ~CurlNetwork() override;
  CurlNetwork(const CurlNetwork&) = delete;
  CurlNetwork& operator=(const CurlNetwork&) = delete;

  /// Sends `request`, a GET without a body whose URL is a path on the server. `completion` is called once.
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  struct Parts;
  explicit CurlNetwork(std::unique_ptr<Parts> parts);

  const std::unique_ptr<Parts> parts_;
};

}  // namespace vellora::hostkit
