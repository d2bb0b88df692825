#include "hostkit/SpreadTimeout.h"

#include <algorithm>
#include <random>

namespace vellora::hostkit {

namespace {

double randomChance() {
  std::random_device source;
  return std::uniform_real_distribution<double>()(source);
}

}  // namespace

std::chrono::duration<double> spreadTimeout(std::chrono::duration<double> timeout, double share,
                                            const std::function<double()>& chance) {
  const double most = std::min(std::max(0.0, share), 1.0);  // not a number is none at all
  const double chosen = std::clamp(chance ? chance() : randomChance(), 0.0, 1.0);
  return timeout * (1 + most * (2 * chosen - 1));
}

}  // namespace vellora::hostkit
