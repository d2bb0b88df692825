#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "apps/vellora/explore/Image.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Web/URL.h"

namespace vellora::explore {

/// Fetches and keeps the icons of the records server. The browser never gets an icon's address. It gets an id
/// for each address that leads to the records server, and the icon's bytes for the id. Nobody can guess an
/// id. An icon that was fetched is kept, as an app would keep it, so that it is there without the server.
///
/// Ownership: make it with `std::make_shared`; shares the network; answers that come after its end are
/// dropped.
///
/// Threads: safe to use from several threads at once.
class IconStore : public std::enable_shared_from_this<IconStore> {
 public:
  using Completion = std::function<void(std::optional<Image> image)>;

  static constexpr std::size_t mostBytes = 262'144;  ///< of one icon; a larger one is not shown
  static constexpr double mostSeconds = 10;          ///< for one icon; a slower one is not shown
  static constexpr std::size_t mostIcons = 20'000;   ///< what comes after that is not shown
  static constexpr std::size_t mostBytesKept = std::size_t{64} * 1024 * 1024;  ///< of all icons together

  /// `server` is the records server's address, to which `network` sends, without a token; `key` begins every
  /// id.
  IconStore(std::string server, std::string key, std::shared_ptr<CorvaneSDK::Network> network);

  /// The id for an address of an icon; none when the address leads elsewhere.
  [[nodiscard]] std::optional<std::string> admit(const std::optional<std::string>& address);

  /// Brings the icon, inside the call or on the network's thread; nothing when there is none of that id, the
  /// server doesn't send it, or what it sends is no image.
  void fetch(const std::string& id, Completion completion);

 private:
  struct Icon {
    URL url;
    std::optional<Image> image;
  };

  [[nodiscard]] std::optional<Icon> known(const std::string& id);
  void keep(const std::string& id, const Image& image);

  const std::string server_;
  const std::string key_;
  const std::shared_ptr<CorvaneSDK::Network> network_;
  std::mutex mutex_;
  std::map<std::string, Icon> icons_;       // by id
  std::map<std::string, std::string> ids_;  // by URL
  std::size_t bytesKept_ = 0;
};

}  // namespace vellora::explore
