#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/bodies/KeptBody.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Row.h"

namespace vellora::hostkit {

/// The bodies of answers that may be asked for again with a condition, in the host's own cache.
///
/// They are rows of the library's table of object types, of kinds of their own: so `Catalog::forget`, which
/// empties that table, deletes them, whatever the cache is. As long as the library has not created that
/// table, nothing is kept. Rows go after seven days. So a server that forgets to change a tag is believed for
/// no longer than that.
///
/// A row is named by a keyed digest of whoever may have the body, of the URL and of the headers sent: neither
/// a token nor an address can be read in it. The digest's key is a row, too. A body is kept only if that row
/// is still there: what was under way at a `forget` is not kept behind it.
///
/// Ownership: shares the cache.
///
/// Threads: `digestKey` and `mostOfOne` from any thread; the others one at a time. The cache may be in use
/// meanwhile.
///
/// Errors: what cannot be read, or does not fit its checksum, is not there; what cannot be written is not
/// kept. A cache that finds no memory throws `std::bad_alloc`.
///
/// Units: bytes.
class KeptBodies {
 public:
  static constexpr std::string_view bodyKind = "keptBody";
  static constexpr std::string_view keyKind = "keptBodyKey";

  struct Options {
    /// How much is kept at most, with headers and rows, as far as one object knows. Before it keeps its first
    /// body, it counts all there are. Then it adds what it keeps itself, and counts all anew when that is too
    /// much. The bodies that were kept first go first. One that takes more than a quarter is not kept.
    std::size_t maxBytes = std::size_t{16} * 1024 * 1024;
    /// Whose bodies these are, whatever token is sent. Absent: each token has bodies of its own.
    std::optional<std::string> user = {};
  };

  /// Where the body of a request stands.
  struct Place {
    std::string digestKey;
    std::string request;  ///< the digest, in hexadecimal digits
  };

  /// `cache` must not be null.
  KeptBodies(std::shared_ptr<CorvaneSDK::Cache> cache, Options options);

  /// The digest's key as it is now. A `forget` ends it. Where there is none it is made, so that what is asked
  /// for now has one that can end. Two objects on one cache may make one each: then the later one stays.
  /// Empty when nothing can be kept.
  [[nodiscard]] std::string digestKey() const;

  /// How large a body may be to be kept.
  [[nodiscard]] std::size_t mostOfOne() const noexcept;

  /// The place of the body that a GET of `url`, which is absolute, with these header lines is answered with.
  /// `asked` is the digest's key at the moment at which the request was asked for. Absent when that key has
  /// ended since, or there was none.
  ///
  /// With `Options::user` an `Authorization` line is left out of the name: it must be the user's own.
  [[nodiscard]] std::optional<Place> placeOf(const std::string& asked, const std::string& url,
                                             const std::vector<std::string>& headerLines);

  /// The body that was kept there. A damaged one is deleted, and not there.
  [[nodiscard]] std::optional<KeptBody> load(const Place& place);

  /// Keeps `kept` there. False when it is not kept.
  bool save(const Place& place, const KeptBody& kept);

  /// Deletes what was kept there.
  void remove(const Place& place);

  /// Whether a row of that meta is one of these, the digest's key included.
  [[nodiscard]] static bool isOwn(const CorvaneSDK::Meta& meta);

 private:
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> table() const;
  [[nodiscard]] std::string nameOf(const std::string& url, const std::vector<std::string>& headerLines) const;
  void trim(CorvaneSDK::CacheTable& table, std::size_t atMost);

  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const Options options_;
  mutable std::mutex making_;        // held while a key is made: two threads would make two
  std::optional<std::size_t> kept_;  // at most so much is kept by now, as far as this object has counted
};

}  // namespace vellora::hostkit
