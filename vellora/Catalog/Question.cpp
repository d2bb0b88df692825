#include "vellora/Catalog/Question.h"

#include "vellora/Catalog/Asked.h"

namespace vellora {

template <class T>
Question<T>& Question<T>::operator=(Question&& other) noexcept {
  if (this != &other) {
    cancel();
    asked_ = std::move(other.asked_);
  }
  return *this;
}

template <class T>
Question<T>::~Question() {
  cancel();
}

template <class T>
Answer<T> Question<T>::get() && {
  asked_->awaitEnd();
  return asked_->take();
}

template <class T>
QuestionToken Question<T>::then(std::function<void(Answer<T> answer)> callback) && {
  // No handle: the question holds the callback.
  asked_->whenEnded([asked = asked_.get(), callback = std::move(callback)] { callback(asked->take()); });
  return QuestionToken(std::move(asked_));
}

template <class T>
void Question<T>::cancel() {
  if (asked_) asked_->cancel();
}

template <class T>
bool Question<T>::await_ready() const noexcept {
  return asked_->isSilent();
}

template <class T>
void Question<T>::await_suspend(std::coroutine_handle<> waiting) {
  const auto asked = asked_;  // the coroutine may go on, and drop this, before the call returns
  asked->whenEnded([waiting] { waiting.resume(); });
}

template <class T>
Answer<T> Question<T>::await_resume() {
  return asked_->take();
}

template class Question<ObjectPresentationInfo>;
template class Question<ObjectLayoutInfo>;
template class Question<ObjectCompactLayoutInfo>;
template class Question<TypeChange>;

}  // namespace vellora
