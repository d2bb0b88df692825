#include "vellora/Host/RequiredAPI.h"

#include <stdexcept>
#include <utility>

namespace vellora {

namespace {

template <class Facility>
std::shared_ptr<Facility> present(std::shared_ptr<Facility> facility, const char* complaint) {
  if (!facility) throw std::invalid_argument(complaint);
  return facility;
}

}  // namespace

RequiredAPI::RequiredAPI(std::shared_ptr<CorvaneSDK::Network> hostNetwork,
                         std::shared_ptr<CorvaneSDK::Cache> hostCache,
                         std::shared_ptr<CorvaneSDK::Logger> hostLogger)
    : network(present(std::move(hostNetwork), "RequiredAPI without a network")),
      cache(present(std::move(hostCache), "RequiredAPI without a cache")),
      logger(present(std::move(hostLogger), "RequiredAPI without a logger")) {}

}  // namespace vellora
