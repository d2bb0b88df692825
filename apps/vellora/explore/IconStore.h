#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/explore/Image.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/URL.h"

namespace vellora::explore {

/// The icons of the records server. The browser never sees their addresses as such: it gets a number for each
/// address that leads to the records server and to nobody else, and the icon's bytes for the number. What was
/// fetched once is kept, as an app would, so that it is there without the server.
///
/// Ownership: make it with `std::make_shared`; shares the network; answers that come after its end are
/// dropped. Threads: safe to use from several threads at once.
class IconStore : public std::enable_shared_from_this<IconStore> {
 public:
  using Completion = std::function<void(std::optional<Image> image)>;

  static constexpr std::size_t mostBytes = 262'144;  ///< of one icon; a larger one is not shown
  static constexpr std::size_t mostIcons = 20'000;   ///< what comes after that is not shown
  static constexpr std::size_t mostBytesKept = std::size_t{64} * 1024 * 1024;  ///< of all icons together

  /// `server` is the records server's address, to which `network` sends.
  IconStore(std::string server, std::shared_ptr<CorvaneSDK::Network> network);

  /// The number for an address of an icon; none when the address leads elsewhere.
  [[nodiscard]] std::optional<std::size_t> admit(const std::optional<std::string>& address);

  /// Brings the icon, inside the call or on the network's thread; nothing when there is none of that number,
  /// the server doesn't send it, or what it sends is no image.
  void fetch(std::size_t number, Completion completion);

 private:
  struct Icon {
    URL url;
    std::optional<Image> image;
  };

  void keep(std::size_t number, const Image& image);

  const std::string server_;
  const std::shared_ptr<CorvaneSDK::Network> network_;
  std::mutex mutex_;
  std::vector<Icon> icons_;
  std::map<std::string, std::size_t> numbers_;  // by URL
  std::size_t bytesKept_ = 0;
};

}  // namespace vellora::explore
