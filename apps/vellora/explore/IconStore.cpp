#include "apps/vellora/explore/IconStore.h"

#include <new>
#include <utility>

#include "apps/vellora/explore/IconAddress.h"

namespace vellora::explore {
namespace {

std::optional<Image> imageOf(const std::optional<Data>& data, const std::optional<URLResponse>& response) {
  if (!data || data->size() > IconStore::mostBytes) return std::nullopt;
  if (response && response->statusCode != 200) return std::nullopt;
  const auto type = imageTypeOf(data->view());
  if (!type) return std::nullopt;
  return Image{*type, *data};
}

/// Asks for an image, and not for long.
CorvaneSDK::NetRequest requestFor(const URL& url) {
  URLRequest request(url, URLRequestCachePolicy::useProtocolCachePolicy, IconStore::mostSeconds);
  request.headers = {{"Accept", "image/*"}};
  return CorvaneSDK::NetRequest(request);
}

}  // namespace

IconStore::IconStore(std::string server, std::string key, std::shared_ptr<CorvaneSDK::Network> network)
    : server_(std::move(server)), key_(std::move(key)), network_(std::move(network)) {}

std::optional<std::string> IconStore::admit(const std::optional<std::string>& address) {
  if (!address) return std::nullopt;
  const auto url = iconRequest(*address, server_);
  if (!url) return std::nullopt;
  const std::lock_guard lock(mutex_);
  const auto found = ids_.find(url->absoluteString());
  if (found != ids_.end()) return found->second;
  if (icons_.size() == mostIcons) return std::nullopt;
  const auto id = key_ + "-" + std::to_string(icons_.size());
  icons_.emplace(id, Icon{*url, std::nullopt});
  ids_.emplace(url->absoluteString(), id);
  return id;
}

void IconStore::fetch(const std::string& id, Completion completion) {
  const auto icon = known(id);
  if (!icon || icon->image) return completion(icon ? icon->image : std::nullopt);
  network_->sendRequest(requestFor(icon->url),
                        [weak = weak_from_this(), id, completion = std::move(completion)](
                            const auto& data, const auto&, const auto& response) {
                          std::optional<Image> image;
                          try {
                            image = imageOf(data, response);
                            const auto self = weak.lock();
                            if (self && image) self->keep(id, *image);
                          } catch (const std::bad_alloc&) {  // on a network's thread: no icon is shown
                            image.reset();
                          }
                          completion(std::move(image));
                        });
}

std::optional<IconStore::Icon> IconStore::known(const std::string& id) {
  const std::lock_guard lock(mutex_);
  const auto found = icons_.find(id);
  return found == icons_.end() ? std::nullopt : std::optional(found->second);
}

void IconStore::keep(const std::string& id, const Image& image) {
  const std::lock_guard lock(mutex_);
  auto& kept = icons_.at(id).image;
  if (kept || bytesKept_ + image.bytes.size() > mostBytesKept) return;
  bytesKept_ += image.bytes.size();
  kept = image;
}

}  // namespace vellora::explore
