#include "vellora/Catalog/Readiness.h"

namespace vellora {

std::string Readiness::text() const {
  if (case_ == Case::loading) return "loading";
  return failure_ ? "failed: " + failure_->text() : "ready";
}

}  // namespace vellora
