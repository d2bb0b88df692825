#include "bench/fleet/Random.h"

#include <cmath>

namespace vellora::fleet {

double Random::wait(double mean) {
  return -std::log1p(-share()) * mean;
}

}  // namespace vellora::fleet
