#include "bench/fleet/Server.h"

#include <algorithm>

namespace vellora::fleet {

Server::Answer Server::take(double time, const Cost& cost, double weight) {
  if (refuses(time)) {
    const Cost refusal{refusal_.requestBytes, refusal_.answerBytes, 0};
    day_.add(time, refusal, weight, true);
    return {time + travel, true};
  }
  work(time, cost, weight);
  day_.add(time, cost, weight, false);
  return {std::max(processorsFree_, lineFree_) + travel, false};
}

bool Server::refuses(double time) const {
  if (outage_ && outage_->contains(time)) return true;
  return std::max(processorsFree_, lineFree_) - time > capacity_.longestWait;
}

void Server::work(double time, const Cost& cost, double weight) {
  processorsFree_ = std::max(processorsFree_, time) + weight * cost.processor / capacity_.processors;
  lineFree_ = std::max(lineFree_, time) + weight * cost.answerBytes / capacity_.bandwidth;
}

}  // namespace vellora::fleet
