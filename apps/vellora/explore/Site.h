#pragma once

#include <memory>
#include <string>

#include "apps/http/Exchange.h"
#include "apps/vellora/explore/Explorer.h"
#include "apps/vellora/explore/RequestGuard.h"

namespace vellora::explore {

/// The explorer's web site: the page's files, its data as JSON, the icons.
///
/// Ownership: shares the explorer.
///
/// Threads: immutable, hence safe to use from several threads.
class Site {
 public:
  Site(std::shared_ptr<Explorer> explorer, std::uint16_t port, const std::string& key)
      : explorer_(std::move(explorer)), guard_(port, key) {}

  void handle(const http::Request& request, const http::Exchange& exchange) const;

 private:
  const std::shared_ptr<Explorer> explorer_;
  const RequestGuard guard_;
};

/// Adds the headers of every answer. They tell the browser to load nothing from elsewhere, to run no scripts
/// but the page's own, to show the page in no other page's frame, to store nothing, and to tell no other site
/// its address.
[[nodiscard]] http::Response secured(http::Response response);

}  // namespace vellora::explore
