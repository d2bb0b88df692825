#include "apps/vellora/explore/IconStore.h"

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

}  // namespace

IconStore::IconStore(std::string server, std::shared_ptr<CorvaneSDK::Network> network)
    : server_(std::move(server)), network_(std::move(network)) {}

std::optional<std::size_t> IconStore::admit(const std::optional<std::string>& address) {
  if (!address) return std::nullopt;
  const auto url = iconRequest(*address, server_);
  if (!url) return std::nullopt;
  const std::lock_guard lock(mutex_);
  const auto known = numbers_.find(url->absoluteString());
  if (known != numbers_.end()) return known->second;
  if (icons_.size() == mostIcons) return std::nullopt;
  icons_.push_back({*url, std::nullopt});
  numbers_.emplace(url->absoluteString(), icons_.size() - 1);
  return icons_.size() - 1;
}

void IconStore::fetch(std::size_t number, Completion completion) {
  std::optional<Icon> icon;
  {
    const std::lock_guard lock(mutex_);
    if (number < icons_.size()) icon = icons_[number];
  }
  if (!icon || icon->image) return completion(icon ? icon->image : std::nullopt);
  network_->sendRequest(CorvaneSDK::NetRequest(URLRequest(icon->url)),
                        [weak = weak_from_this(), number, completion = std::move(completion)](
                            const auto& data, const auto&, const auto& response) {
                          const auto image = imageOf(data, response);
                          const auto self = weak.lock();
                          if (self && image) self->keep(number, *image);
                          completion(image);
                        });
}

void IconStore::keep(std::size_t number, const Image& image) {
  const std::lock_guard lock(mutex_);
  auto& kept = icons_[number].image;
  if (kept || bytesKept_ + image.bytes.size() > mostBytesKept) return;
  bytesKept_ += image.bytes.size();
  kept = image;
}

}  // namespace vellora::explore
