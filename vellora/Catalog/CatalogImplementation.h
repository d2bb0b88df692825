#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/InfoLookup.h"
#include "vellora/Catalog/Inquiry.h"
#include "vellora/Catalog/KeyRefusal.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/RefreshOptions.h"
#include "vellora/Catalog/Session.h"
#include "vellora/Catalog/Watch.h"
#include "vellora/Catalog/Watches.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Guarded.h"

namespace vellora {

/// What a `Catalog` consists of.
///
/// Ownership: owned by the catalogue. What is under way holds the session and the gate, not this.
class Catalog::Implementation {
 public:
  Implementation(const std::shared_ptr<CorvaneSDK::PlatformAPI>& host, CatalogOptions options);
  ~Implementation();
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  [[nodiscard]] Question<ObjectPresentationInfo> infos(InfoLookup::Wanted::Kind kind, const Keys& keys,
                                                       const QuestionOptions& options) const;
  [[nodiscard]] Question<ObjectPresentationInfo> allTypes(std::string_view filter,
                                                          const QuestionOptions& options) const;
  [[nodiscard]] Question<ObjectLayoutInfo> searchColumns(const Keys& names,
                                                         const QuestionOptions& options) const;
  [[nodiscard]] Question<ObjectCompactLayoutInfo> headlines(const Keys& names,
                                                            const QuestionOptions& options) const;
  [[nodiscard]] Question<TypeChange> refresh(const RefreshOptions& options) const;
  template <class T>
  [[nodiscard]] QuestionToken watch(std::function<Question<T>()> ask,
                                    std::function<void(Answer<T>)> callback) const {
    const auto watch = std::make_shared<Watch<T>>(
        std::move(ask), std::move(callback), typename Watch<T>::Terms{options_.answersOn, gate_, watches_});
    QuestionToken token(watch);
    watches_->add(watch);
    watch->start();
    return token;
  }
  void forget() const;
  void releaseMemory() const;

  [[nodiscard]] const Published<Readiness>& readiness() const noexcept { return readiness_; }
  [[nodiscard]] Publisher<Readiness> readinessStream() const;

 private:
  using SessionPtr = std::shared_ptr<Session>;  // null without a host

  /// Asks a question for `keys`; `start(session, question, keys, source)` works for it, with those that
  /// can be asked.
  template <class T, class Start>
  [[nodiscard]] Question<T> ask(QuestionKind what, const Keys& keys, KeyKind kind,
                                const QuestionOptions& options, Start start) const;
  /// The same for a question without keys; `start(session, question, source)`.
  template <class T, class Start>
  [[nodiscard]] Question<T> askAll(QuestionKind kind, const QuestionOptions& options, Start start) const;

  template <class T>
  [[nodiscard]] std::shared_ptr<detail::Asked<T>> begun(const SessionPtr& session, QuestionKind kind,
                                                        const std::vector<std::string>& keys,
                                                        const QuestionOptions& options) const;

  /// When and how a question begins.
  struct Beginning {
    std::shared_ptr<TimedQueue> timer;
    TimedQueue::Delay begun;
    TimedQueue::Delay deadline;
    Source source;
  };

  using SharedKeys = std::shared_ptr<const std::vector<std::string>>;

  /// Has `start(session, question, source)` called soon. A question without keys has `keys` empty.
  template <class T, class Start>
  void startSoon(const SessionPtr& session, const std::shared_ptr<detail::Asked<T>>& question,
                 const SharedKeys& keys, const QuestionOptions& options, Start start) const;
  template <class T, class Start>
  static void prepareFallback(const SessionPtr& session, const std::shared_ptr<detail::Asked<T>>& question,
                              const SharedKeys& keys, const Beginning& beginning, const Start& start);

  [[nodiscard]] std::string themeOf(const QuestionOptions& options) const;
  [[nodiscard]] SessionPtr newSession() const;
  [[nodiscard]] SessionPtr firstSession() const;
  void prefetch() const;

  // Constant after construction.
  const CatalogOptions options_;
  const std::optional<RequiredAPI> api_;
  const std::shared_ptr<CallbackGate> gate_ = std::make_shared<CallbackGate>();

  const std::shared_ptr<Watches> watches_ = std::make_shared<Watches>();
  const std::shared_ptr<const Inquiry::Common> inquiries_;

  // Synchronise themselves.
  mutable std::recursive_mutex forgetting_;
  const Published<Readiness> readiness_;
  mutable Guarded<SessionPtr> session_;
};

}  // namespace vellora
