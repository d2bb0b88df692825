#include "vellora/Catalog/QuestionToken.h"

#include "vellora/Catalog/Asked.h"

namespace vellora {

QuestionToken& QuestionToken::operator=(QuestionToken&& other) noexcept {
  if (this != &other) {
    cancel();
    asked_ = std::move(other.asked_);
  }
  return *this;
}

QuestionToken::~QuestionToken() {
  cancel();
}

void QuestionToken::cancel() {
  if (asked_) asked_->cancel();
}

}  // namespace vellora
