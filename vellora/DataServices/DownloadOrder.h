#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace vellora {

/// Sees to it that of two downloads of one layout the one that was asked for later stays in the cache,
/// however late the other comes.
///
/// Ownership: shared by the downloads that are under way. It knows nothing of those that have ended.
///
/// Threads: safe to use from several threads at once.
class DownloadOrder {
 public:
  /// One download, from when it is asked for until nobody needs it any more.
  ///
  /// Ownership: whoever waits for the download owns it.
  class Turn {
   public:
    explicit Turn(std::shared_ptr<DownloadOrder> order);
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// To be called when the download has brought the layouts of `types`, before they are cached: those of
    /// them that a later download has brought already.
    [[nodiscard]] std::set<std::string> overtaken(const std::vector<std::string>& types) const;

   private:
    const std::shared_ptr<DownloadOrder> order_;
    const std::uint64_t number_;
  };

 private:
  [[nodiscard]] std::uint64_t begin();
  void end(std::uint64_t number);
  [[nodiscard]] std::set<std::string> overtaken(std::uint64_t number, const std::vector<std::string>& types);

  std::mutex mutex_;  // guards what follows
  std::uint64_t last_ = 0;
  std::map<std::uint64_t, std::set<std::string>> underWay_;  // and what later ones have brought
};

}  // namespace vellora
