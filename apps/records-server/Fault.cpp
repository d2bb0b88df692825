#include "apps/records-server/Fault.h"

namespace vellora::recordsserver {

Fault Fault::delay(std::chrono::milliseconds wait) {
  return {.kind = Kind::none, .wait = wait};
}

Fault Fault::fail(int status) {
  return {.kind = Kind::fail, .status = status};
}

Fault Fault::errorBody() {
  return {.kind = Kind::errorBody};
}

Fault Fault::truncate(std::size_t bytes) {
  return {.kind = Kind::truncate, .bytes = bytes};
}

Fault Fault::drop() {
  return {.kind = Kind::drop};
}

Fault Fault::never() {
  return {.kind = Kind::never};
}

Fault Fault::garbage() {
  return {.kind = Kind::garbage};
}

Fault Fault::empty() {
  return {.kind = Kind::empty};
}

Fault Fault::unaskedNotModified() {
  return {.kind = Kind::unasked};
}

Fault Fault::notModifiedForAnother() {
  return {.kind = Kind::otherTag};
}

Fault Fault::frozenTag() {
  return {.kind = Kind::frozenTag};
}

Fault Fault::after(std::chrono::milliseconds time) const {
  auto later = *this;
  later.wait = time;
  return later;
}

}  // namespace vellora::recordsserver
