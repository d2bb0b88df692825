#include "testkit/StubAnswer.h"

#include <utility>

namespace vellora::testkit {

StubAnswer StubAnswer::body(Data data) {
  StubAnswer answer;
  answer.data_ = std::move(data);
  return answer;
}

StubAnswer StubAnswer::failure(Error error) {
  StubAnswer answer;
  answer.error_ = std::move(error);
  return answer;
}

StubAnswer StubAnswer::nothing() {
  return {};
}

StubAnswer StubAnswer::never() {
  StubAnswer answer;
  answer.delivery_ = Delivery::never;
  return answer;
}

StubAnswer StubAnswer::held() const {
  StubAnswer copy = *this;
  if (delivery_ == Delivery::immediate) copy.delivery_ = Delivery::held;
  return copy;
}

StubAnswer StubAnswer::with(URLResponse response) const {
  StubAnswer copy = *this;
  copy.response_ = std::move(response);
  return copy;
}

}  // namespace vellora::testkit
