#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/CatalogOptions.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Catalog/QuestionToken.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Catalog/RefreshOptions.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/Host/PlatformAPI.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What apps ask about the metadata of a records server. Every question ends, with a reason for each key that
/// it could not find. Construct one early and keep it: it begins at once to load both lists.
///
///     Catalog catalog(host, {.theme = "light", .cacheTimeout = 1h, .answersOn = mainLoop});
///
///     const auto answer = co_await catalog.records({"001…", "00B…"}, {.deadline = 5s});
///     for (const auto& [id, info] : answer.found) show(id, info);
///     for (const auto& [id, missing] : answer.missing) show(id, missing.text());
///
/// Promises, whatever host, server, cache or clock do:
///
/// 1. Each question ends exactly once, at its deadline at the latest.
/// 2. Each of its keys is found, or missing for a reason. One bad key takes no other with it.
/// 3. When `cancel`, of a question or its token, or the catalogue's destructor has returned, no callback runs
///    or will. They wait for one that runs, unless they are called from inside it.
/// 4. Callbacks run on the queue that the options name, never inside a call, never on the network's thread.
/// 5. Equal requests under way are shared, and no request's URL is longer than 8 kB.
///
/// Where an answer comes from is decided as the data services say: the cache while it is fresh, else the
/// server; older data when the server fails or does not answer by the deadline, marked as stale.
///
/// Ownership: shares the host's facilities. Destroying it gives all questions up: one that a thread waits for
/// in `get` returns as cancelled; a callback is not called; a coroutine that is suspended in one is not
/// resumed, so destroy coroutines first, or stop them.
///
/// Threads: every member may be called from any thread, also from inside a callback.
///
/// Errors: in the answers. A host that lacks a facility has every question fail. A call throws
/// `std::bad_alloc`, also when the system has no thread for the deadlines; nothing is asked then,
/// though an observer may be told of a question that was cancelled.
///
/// Units: seconds, as `std::chrono` spells them.
class VELLORA_EXPORT Catalog {
 public:
  /// Takes network, cache and logger from `host`, and starts to load both lists, unless the cache has them or
  /// the options say otherwise.
  explicit Catalog(const std::shared_ptr<CorvaneSDK::PlatformAPI>& host, CatalogOptions options = {});

  /// Waits for a callback that runs, but for one that it is called from. Two catalogues whose callbacks, at
  /// one time, destroy each other's catalogue wait for each other for ever.
  ~Catalog();

  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  /// What the records of these ids are: the look of their types, and for a list view also of what it lists.
  [[nodiscard]] Question<ObjectPresentationInfo> records(const Keys& ids,
                                                         const QuestionOptions& options = {}) const;

  /// What the object types of these API names look like.
  [[nodiscard]] Question<ObjectPresentationInfo> types(const Keys& names,
                                                       const QuestionOptions& options = {}) const;

  /// What all object types look like, by API name, or those that a person finds who types `filter`: words,
  /// each of which stands somewhere in the label, the plural or the name, in either case.
  [[nodiscard]] Question<ObjectPresentationInfo> allTypes(std::string_view filter = {},
                                                          const QuestionOptions& options = {}) const;

  /// Which columns search results of these object types show.
  [[nodiscard]] Question<ObjectLayoutInfo> searchColumns(const Keys& names,
                                                         const QuestionOptions& options = {}) const;

  /// Which fields head the records of these object types. Answers of one moment may share their fields.
  [[nodiscard]] Question<ObjectCompactLayoutInfo> headlines(const Keys& names,
                                                            const QuestionOptions& options = {}) const;

  /// Fetches both lists anew, whatever their age, and has layouts and list views fetched anew when they are
  /// asked for next. Finds, by API name, what has changed; the first time everything is `added`.
  [[nodiscard]] Question<TypeChange> refresh(const RefreshOptions& options = {}) const;

  /// Asks what `ask` asks, and asks again after each refresh; `callback` gets the first answer, then each
  /// that differs from the one before:
  ///
  ///     watch_ = catalog.watch([&] { return catalog.types({"Account"}); }, [this](auto answer) {
  ///     show(answer); });
  ///
  /// What a later answer could not find out, and another age, are no difference. `ask` must ask this
  /// catalogue: with a question of another one, the watch would end when that one does. It is called inside
  /// this call the first time, and later on the queue of the answers. Keep the token: it promises for both
  /// functions what that of `Question::then` does. `detach` lets the watch last as long as the catalogue.
  template <class Ask>
  [[nodiscard]] QuestionToken watch(
      Ask ask, std::function<void(Answer<typename std::invoke_result_t<Ask&>::Value>)> callback) const {
    using T = typename std::invoke_result_t<Ask&>::Value;
    static_assert(!std::is_same_v<T, TypeChange>, "a refresh is what watches wait for");
    return watching<T>(std::move(ask), std::move(callback));
  }

  /// Gives all questions up, as cancelled, and deletes what the library has written into the cache: for a
  /// sign-out. Layouts that a façade has cached are deleted of the types that the cached list names. When it
  /// has returned, nothing that was asked before is written any more; a question that is asked meanwhile is
  /// cancelled. Afterwards the catalogue begins without anything. A layout that the cache does not delete
  /// is deleted by the next call, also after a restart; it cannot tell whether the cache has obeyed. A call
  /// waits for one on another thread, and for what is just being written: make it on no thread that the
  /// host's cache needs. Throws `std::bad_alloc`, before it has done anything or after it has deleted what it
  /// could; call it again then.
  void forget() const;

  /// Lets go of all that is only remembered, as when the system is short of memory: lists in their decoded
  /// form, what the host's cache keeps of its rows in memory, and the pool's threads that have no work, with
  /// their parsers. Nothing is lost, and questions under way go on; the next one that needs a list decodes it
  /// once more. What a thread is just working with goes when that is done. It may wait for what the host's
  /// cache is just doing, and throws nothing.
  void releaseMemory() const;

  /// Whether both lists are there.
  [[nodiscard]] Readiness readiness() const;

  /// Yields the current readiness, then every later one, on the queue of the catalogue's answers; nothing
  /// after the catalogue's destructor has returned. Where you pass it on to another queue with `receive`,
  /// what is on its way there still arrives: keep the token, and drop it on that queue.
  [[nodiscard]] Publisher<Readiness> readinessStream() const;

 private:
  class Implementation;

  template <class T>
  [[nodiscard]] QuestionToken watching(std::function<Question<T>()> ask,
                                       std::function<void(Answer<T>)> callback) const;

  const std::shared_ptr<Implementation> implementation_;
};

extern template QuestionToken Catalog::watching(std::function<Question<ObjectPresentationInfo>()>,
                                                std::function<void(Answer<ObjectPresentationInfo>)>) const;
extern template QuestionToken Catalog::watching(std::function<Question<ObjectLayoutInfo>()>,
                                                std::function<void(Answer<ObjectLayoutInfo>)>) const;
extern template QuestionToken Catalog::watching(std::function<Question<ObjectCompactLayoutInfo>()>,
                                                std::function<void(Answer<ObjectCompactLayoutInfo>)>) const;

}  // namespace vellora
