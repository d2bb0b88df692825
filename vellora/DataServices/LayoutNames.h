#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/DataServices/Requester.h"
#include "vellora/Host/Cache.h"
#include "vellora/Platform/Publishers/SerialGate.h"

namespace vellora {

/// The object types whose layouts a service has cached for a catalogue, in a blob of their own: a list of
/// names as JSON. A host's cache cannot tell which blobs it has, and a sign-out must find them, also after a
/// restart, and when the list of types is gone.
///
/// Ownership: part of a layout service, which its callers keep alive; shares the cache.
///
/// Threads: safe to use from several threads at once. Two processes that write at the same moment may lose a
/// name; so may two catalogues on one cache that share no services.
///
/// Errors: a blob that cannot be read names nothing, and is replaced.
class LayoutNames {
 public:
  LayoutNames(std::shared_ptr<CorvaneSDK::Cache> cache, std::string_view key);

  /// Notes `names`, then calls `save`, which writes their layouts; neither when who fetched them is not to
  /// write any more. Of calls on several threads one takes the others along. It throws nothing: where there
  /// is no memory, or the cache does not keep the note, the layouts are not written.
  void noteAndSave(std::vector<std::string> names, const Fetching& fetching,
                   std::function<void()> save) const;

  /// What has been noted.
  [[nodiscard]] std::vector<std::string> all() const;

  /// Forgets all but `left`, whose layouts the cache has not deleted.
  void forgetAllBut(const std::vector<std::string>& left) const;

 private:
  /// Whether they are noted now.
  [[nodiscard]] bool add(const std::vector<std::string>& names) const;
  bool save(const std::vector<std::string>& names) const;

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::string key_;

  mutable SerialGate gate_;
};

}  // namespace vellora
