#pragma once

#include <deque>
#include <optional>
#include <utility>

#include "vellora/Host/Network.h"

namespace vellora::faults {

/// What a records server says that has two object types with themes and layouts, Account and Contact, and
/// list views, all of which list contacts. No value where it has no such resource.
[[nodiscard]] std::optional<Data> answerOf(const CorvaneSDK::NetRequest& request);

/// A network to that server on one thread: requests wait until they are answered.
class SmallServer final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

  /// Answers the oldest request. False when there is none.
  bool answerNext();

 private:
  std::deque<std::pair<CorvaneSDK::NetRequest, Completion>> waiting_;
};

}  // namespace vellora::faults
