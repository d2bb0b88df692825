#include "bindings/c/QuestionHandle.h"

#include <atomic>
#include <functional>
#include <new>
#include <type_traits>

#include "bindings/c/Border.h"
#include "bindings/c/Structs.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionToken.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Values/Guarded.h"

namespace vellora::capi {

namespace {

/// One without a listener, which `vellora_wait` waits for.
template <class T>
class AwaitedQuestion final : public OpenQuestion {
 public:
  AwaitedQuestion(const Kind<T>& kind, Question<T> question, std::shared_ptr<const Keys> asked)
      : kind_(kind), question_(std::move(question)), asked_(std::move(asked)) {}

  void cancel() override { question_.cancel(); }

  [[nodiscard]] std::unique_ptr<vellora_answer> wait() override {
    if (isTaken_.exchange(true)) throw Refusal(VELLORA_ALREADY_TAKEN, "The question was waited for before.");
    return handleOf(kind_, std::move(question_).get(), asked_);
  }

 private:
  const Kind<T> kind_;
  Question<T> question_;
  const std::shared_ptr<const Keys> asked_;
  std::atomic<bool> isTaken_ = false;
};

/// One with a listener, which is called through a gate that its end closes.
template <class Token>
class ListenedQuestion final : public OpenQuestion {
 public:
  explicit ListenedQuestion(std::shared_ptr<CallbackGate> calls) : calls_(std::move(calls)) {}

  void cancel() override {
    calls_->close();
    static_cast<void>(token_.exchange(nullptr));
  }

  [[nodiscard]] std::unique_ptr<vellora_answer> wait() override {
    throw Refusal(VELLORA_ALREADY_TAKEN, "The question has a listener.");
  }

  /// Keeps what holds the work for it, which may come when all is over.
  void hold(Token token) {
    auto held = std::make_shared<Token>(std::move(token));
    static_cast<void>(token_.exchange(std::move(held)));
    if (calls_->isClosed()) static_cast<void>(token_.exchange(nullptr));
  }

 private:
  const std::shared_ptr<CallbackGate> calls_;
  Guarded<std::shared_ptr<Token>> token_{nullptr};
};

/// Who is called with the answers to one question, and what lets the calls through.
struct Calls {
  std::shared_ptr<Listener> listener;
  std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();

  /// Calls the listener with the answer that `make` makes, or with none when there is no memory for it.
  template <class Make>
  void deliver(Make make) const {
    gate->run([&] {
      vellora_answer* answer = nullptr;
      try {
        answer = make().release();
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the listener is told by null
      }
      listener->call((*listener)->answered, answer);
    });
  }
};

/// Has `begin` begin what the calls are for: it gives a token. The handle is there before the first call
/// comes.
template <class Begin>
void beginListening(const Calls& calls, vellora_question** handle, Begin begin) {
  using Token = decltype(begin());
  calls.listener->keep();
  vellora_question* const before = handle != nullptr ? *handle : nullptr;
  try {
    if (handle == nullptr) return begin().detach();
    const auto open = std::make_shared<ListenedQuestion<Token>>(calls.gate);
    auto made = std::make_unique<vellora_question>(vellora_question{open});
    *handle = made.get();
    open->hold(begin());
    static_cast<void>(made.release());
  } catch (...) {
    calls.listener->keep(false);
    if (handle != nullptr) *handle = before;
    throw;
  }
}

template <class T>
void checkKeys(const Kind<T>& kind, const Request& request) {
  if (!kind.hasKeys && !request.keys.list().empty())
    throw Refusal(VELLORA_BAD_ARGUMENT, "The question takes no keys.", request.keys.list().front());
}

template <class T>
void askForHandle(const Catalog& catalog, const Kind<T>& kind, const Request& request,
                  vellora_question** handle) {
  auto& out = needed(handle, "Without a listener the handle of the question");
  auto made = std::make_unique<vellora_question>();
  auto asked = std::make_shared<const Keys>(request.keys);
  made->open = std::make_shared<AwaitedQuestion<T>>(kind, kind.ask(catalog, request), std::move(asked));
  out = made.release();
}

/// What hands each answer to the calls.
template <class T>
std::function<void(Answer<T>)> delivering(const Calls& calls, const Kind<T>& kind, const Request& request) {
  return [calls, kind, asked = std::make_shared<const Keys>(request.keys)](Answer<T> answer) {
    calls.deliver([&] { return handleOf(kind, std::move(answer), asked); });
  };
}

void watchReadiness(const Catalog& catalog, const Request& request, const Calls& calls,
                    vellora_question** handle) {
  if (!request.keys.list().empty())
    throw Refusal(VELLORA_BAD_ARGUMENT, "The state takes no keys.", request.keys.list().front());
  beginListening(calls, handle, [&] {
    return catalog.readinessStream().sink(
        [calls](const Readiness& readiness) { calls.deliver([&] { return handleOf(readiness); }); });
  });
}

}  // namespace

void ask(const Catalog& catalog, std::int32_t kind, const Request& request,
         const std::shared_ptr<Listener>& listener, vellora_question** handle) {
  withKind(kind, [&]<class T>(const Kind<T>& known) {
    checkKeys(known, request);
    if (!listener) return askForHandle(catalog, known, request, handle);
    const Calls calls{listener};
    beginListening(calls, handle,
                   [&] { return known.ask(catalog, request).then(delivering(calls, known, request)); });
  });
}

void watch(const Catalog& catalog, std::int32_t kind, const Request& request,
           const std::shared_ptr<Listener>& listener, vellora_question** handle) {
  const Calls calls{listener};
  if (kind == VELLORA_READINESS) return watchReadiness(catalog, request, calls, handle);
  withKind(kind, [&]<class T>(const Kind<T>& known) {
    if constexpr (std::is_same_v<T, TypeChange>) {
      throw Refusal(VELLORA_BAD_ARGUMENT, "A refresh cannot be watched.");
    } else {
      checkKeys(known, request);
      const auto kept = std::make_shared<const Request>(request);
      const auto again = [&catalog, known, kept] { return known.ask(catalog, *kept); };
      beginListening(calls, handle, [&] { return catalog.watch(again, delivering(calls, known, request)); });
    }
  });
}

}  // namespace vellora::capi
