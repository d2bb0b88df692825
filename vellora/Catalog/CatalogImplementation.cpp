#include "vellora/Catalog/CatalogImplementation.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <new>
#include <numeric>
#include <type_traits>
#include <utility>

#include "vellora/Catalog/AllTypesLookup.h"
#include "vellora/Catalog/Fallback.h"
#include "vellora/Catalog/LayoutLookup.h"
#include "vellora/Catalog/RefreshLookup.h"
#include "vellora/DataServices/MetadataServices.h"
#include "vellora/DataServices/NamedList.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Publishers/detail/Step.h"
#include "vellora/Platform/Queues/BoundedQueue.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"
#include "vellora/Services/VelloraServiceError.h"

namespace vellora {

namespace {

/// How long the first load may take: as long as its requests.
constexpr TimedQueue::Delay prefetchDeadline = std::chrono::seconds(60);

/// For how long a failed request of the first load is sent again: as long as a question waits by default,
/// since a question that is asked right behind it shares these requests.
constexpr TimedQueue::Delay prefetchPatience = QuestionOptions().deadline;

/// The facilities of `host`; none when one is absent, or the host itself.
std::optional<RequiredAPI> requiredFrom(CorvaneSDK::PlatformAPI* host) {
  if (!host) return std::nullopt;
  auto network = host->network();
  auto cache = host->cache();
  auto logger = host->logger();
  if (!network || !cache || !logger) return std::nullopt;
  return std::optional<RequiredAPI>(std::in_place, std::move(network), std::move(cache), std::move(logger));
}

CatalogOptions completed(CatalogOptions options) {
  if (!options.answersOn) options.answersOn = std::make_shared<SerialDispatchQueue>("Catalog.queue");
  if (!options.timer) options.timer = TimedQueue::system();
  return options;
}

std::shared_ptr<const Inquiry::Common> inquiriesWith(const CatalogOptions& options,
                                                     const std::shared_ptr<CallbackGate>& gate,
                                                     const std::shared_ptr<Watches>& watches) {
  const auto common = std::make_shared<Inquiry::Common>();
  common->timer = options.timer;
  common->retry = options.retry;
  common->onRefresh = [weak = std::weak_ptr<Watches>(watches)] {
    if (const auto all = weak.lock()) all->askAgain();
  };
  if (options.observer)
    common->reporter = std::make_shared<Reporter>(options.observer, options.observesKeys, gate);
  return common;
}

/// Each of them once, in order.
std::vector<std::string> distinct(const std::vector<std::string>& keys) {
  if (std::adjacent_find(keys.begin(), keys.end(), std::greater_equal<>()) == keys.end()) return keys;
  std::vector<std::uint32_t> order(keys.size());  // what is moved while it is sorted is to be small
  std::iota(order.begin(), order.end(), 0U);
  std::sort(order.begin(), order.end(), [&](auto left, auto right) { return keys[left] < keys[right]; });
  std::vector<std::string> sorted;
  sorted.reserve(keys.size());
  for (const auto position : order) {
    if (sorted.empty() || sorted.back() != keys[position]) sorted.push_back(keys[position]);
  }
  return sorted;
}

/// Takes the keys that cannot be asked for out of `keys`, and says why not.
std::vector<std::pair<std::string, QuestionError>> refusedOf(std::vector<std::string>& keys, KeyKind kind) {
  std::vector<std::pair<std::string, QuestionError>> refused;
  std::erase_if(keys, [&](const std::string& key) {
    const auto refusal = refusalOf(key, kind);
    if (refusal) refused.emplace_back(key, *refusal);
    return refusal.has_value();
  });
  return refused;
}

/// What lets a question write; without a host none does.
std::shared_ptr<CallbackGate> writesOf(const std::shared_ptr<Session>& session) {
  return session ? session->gate : std::make_shared<CallbackGate>();
}

}  // namespace

Catalog::Implementation::Implementation(const std::shared_ptr<CorvaneSDK::PlatformAPI>& host,
                                        CatalogOptions options)
    : options_(completed(std::move(options))),
      api_(requiredFrom(host.get())),
      inquiries_(inquiriesWith(options_, gate_, watches_)),
      readiness_(Readiness::loading(), Subject<WillChange>()),
      session_(firstSession()) {
  if (!api_) {
    readiness_.set(Readiness::failed(Failure(VelloraServiceError::requiredAPI())));
  } else if (options_.loadsAtOnce) {
    prefetch();
  }
}

Catalog::Implementation::~Implementation() {
  gate_->close();
  if (const auto session = session_.value()) session->questions.end();
}

Catalog::Implementation::SessionPtr Catalog::Implementation::newSession() const {
  if (!api_) return nullptr;
  return std::make_shared<Session>(MetadataServices(*api_, options_.cacheTimeout.count()), readiness_);
}

Catalog::Implementation::SessionPtr Catalog::Implementation::firstSession() const {
  const auto* facade = options_.sharesServicesOf;
  return api_ && facade ? std::make_shared<Session>(facade->services(), readiness_) : newSession();
}

/// The first load is a question that nobody waits for.
void Catalog::Implementation::prefetch() const {
  auto question = askAll<TypeChange>(
      QuestionKind::load, {.deadline = prefetchDeadline},
      [](const SessionPtr& session, const auto& asked, Source /*source*/) {
        const auto loaded = [asked](const PreparedLists&) { asked->write([](auto&) {}); };
        asked->keep(
            session->lists.prepared(Source::cacheFirst, asked->fetching()).sink(loaded, failing(asked)));
      });
  const Error late = QuestionError{QuestionError::Case::timedOut};  // made while there is memory
  std::move(question)
      .then(
          [readiness = session_.value()->readiness, late = Failure(late)](const Answer<TypeChange>& answer) {
            if (answer.end == End::answered || answer.end == End::cancelled) return;
            try {
              readiness.noteUnlessLoaded(Readiness::failed(answer.trouble ? *answer.trouble : late));
            } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next load tells
            }
          })
      .detach();
}

Question<ObjectPresentationInfo> Catalog::Implementation::infos(InfoLookup::Wanted::Kind kind,
                                                                const Keys& keys,
                                                                const QuestionOptions& options) const {
  const auto start = [kind, theme = themeOf(options)](const SessionPtr& session, const auto& question,
                                                      const SharedKeys& good, Source source) {
    std::make_shared<InfoLookup>(session, question, InfoLookup::Wanted{kind, good, theme, source})->start();
  };
  const bool areIds = kind == InfoLookup::Wanted::Kind::ids;
  return ask<ObjectPresentationInfo>(areIds ? QuestionKind::records : QuestionKind::types, keys,
                                     areIds ? KeyKind::id : KeyKind::name, options, start);
}

std::string Catalog::Implementation::themeOf(const QuestionOptions& options) const {
  return options.theme.empty() ? options_.theme : std::string(options.theme);
}

Question<ObjectPresentationInfo> Catalog::Implementation::allTypes(std::string_view filter,
                                                                   const QuestionOptions& options) const {
  return askAll<ObjectPresentationInfo>(QuestionKind::allTypes, options,
                                        [filter = TypeFilter(filter), theme = themeOf(options)](
                                            const SessionPtr& session, const auto& question, Source source) {
                                          AllTypesLookup{session, question, filter, theme, source}.start();
                                        });
}

Question<ObjectLayoutInfo> Catalog::Implementation::searchColumns(const Keys& names,
                                                                  const QuestionOptions& options) const {
  return ask<ObjectLayoutInfo>(
      QuestionKind::searchColumns, names, KeyKind::listedName, options,
      [](const SessionPtr& session, const auto& question, const SharedKeys& good, Source source) {
        lookUpLayouts(session, session->services.layouts, question, good, source);
      });
}

Question<ObjectCompactLayoutInfo> Catalog::Implementation::headlines(const Keys& names,
                                                                     const QuestionOptions& options) const {
  return ask<ObjectCompactLayoutInfo>(
      QuestionKind::headlines, names, KeyKind::listedName, options,
      [](const SessionPtr& session, const auto& question, const SharedKeys& good, Source source) {
        lookUpLayouts(session, session->services.compactLayouts, question, good, source);
      });
}

Question<TypeChange> Catalog::Implementation::refresh(const RefreshOptions& options) const {
  return askAll<TypeChange>(
      QuestionKind::refresh,
      {.deadline = options.deadline, .answersOn = options.answersOn, .stop = options.stop},
      [](const SessionPtr& session, const auto& question, Source /*source*/) {
        vellora::refresh(session, question);
      });
}

void Catalog::Implementation::forget() const {
  if (!api_) return;
  // One call at a time: a second purge must not delete what the questions of the next session have cached.
  // Recursive, because a host's queue may run a callback that calls `forget` at once, inside `async`.
  const std::lock_guard lock(forgetting_);
  const auto next = newSession();
  const auto session = session_.value();
  session->end();
  // Questions that come before the next session is there belong to the one that has ended: they are
  // cancelled.
  const auto begin = [&] {
    if (session_.value() != session) return;
    readiness_.set(Readiness::loading());
    session_.replace(session, next);
  };
  try {
    session->purge();
    watches_->forget();
  } catch (const std::bad_alloc&) {
    begin();
    throw;
  }
  begin();
}

void Catalog::Implementation::releaseMemory() const {
  if (const auto session = session_.value()) session->services.releaseMemory();
}

Publisher<Readiness> Catalog::Implementation::readinessStream() const {
  struct Gated {
    decltype(gate_) gate;
    void receive(const detail::Downstream<Readiness>& to, Readiness&& value) const {
      gate->run([&] { to.receive(std::move(value)); });
    }
  };
  return Publisher<Readiness>(detail::behind<Readiness, Readiness>(
      readiness_.stream().receive(options_.answersOn).source(), Gated{gate_}));
}

template <class T, class Start>
Question<T> Catalog::Implementation::ask(QuestionKind what, const Keys& keys, KeyKind kind,
                                         const QuestionOptions& options, Start start) const {
  const auto session = session_.value();
  auto good = distinct(keys.list());
  const auto question = begun<T>(session, what, good, options);
  Question<T> handle(question);  // gives it up when there is no memory to go on
  question->write([refused = refusedOf(good, kind)](auto& sheet) {
    for (const auto& [key, why] : refused) sheet.missed(key, Missing(Missing::Why::notAsked, Failure(why)));
  });
  if (!good.empty()) {
    const auto shared = std::make_shared<const std::vector<std::string>>(std::move(good));
    startSoon(session, question, shared, options,
              [start, shared](const auto& current, const auto& asked, Source source) {
                start(current, asked, shared, source);
              });
  }
  return handle;
}

template <class T, class Start>
Question<T> Catalog::Implementation::askAll(QuestionKind kind, const QuestionOptions& options,
                                            Start start) const {
  const auto session = session_.value();
  const auto question = begun<T>(session, kind, {}, options);
  Question<T> handle(question);
  startSoon(session, question, std::make_shared<const std::vector<std::string>>(), options, std::move(start));
  return handle;
}

template <class T>
std::shared_ptr<detail::Asked<T>> Catalog::Implementation::begun(const SessionPtr& session, QuestionKind kind,
                                                                 const std::vector<std::string>& keys,
                                                                 const QuestionOptions& options) const {
  const auto wanted = options.answersOn.value();
  const auto patience = kind == QuestionKind::load ? prefetchPatience : options.deadline;
  auto question = std::make_shared<detail::Asked<T>>(
      keys, detail::Terms{wanted ? wanted : options_.answersOn, options_.timer, gate_,
                          session ? session->questions : SubscriptionScope(),
                          std::make_shared<Inquiry>(inquiries_, kind, patience, writesOf(session))});
  question->begin(options.deadline, options.stop.value());
  return question;
}

template <class T, class Start>
void Catalog::Implementation::startSoon(const SessionPtr& owner,
                                        const std::shared_ptr<detail::Asked<T>>& question,
                                        const SharedKeys& keys, const QuestionOptions& options,
                                        Start start) const {
  if (!owner) return question->fail(VelloraServiceError::requiredAPI());
  const Beginning beginning{options_.timer, options_.timer->time(), options.deadline, options.source};
  // Weakly: a question that has been dropped or has ended takes no work. What has been forgotten has ended.
  BoundedQueue::lookups()->async([current = std::weak_ptr(owner), weak = std::weak_ptr(question), keys,
                                  beginning, start = std::move(start)] {
    const auto asked = weak.lock();
    const auto session = current.lock();
    if (!asked || !session || asked->hasEnded()) return;
    try {
      start(session, asked, beginning.source);
    } catch (const std::bad_alloc&) {
      return asked->fail(outOfMemory());
    }
    try {
      if constexpr (!std::is_same_v<T, TypeChange>)
        prepareFallback<T>(session, asked, keys, beginning, start);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): it goes on without
    }
  });
}

/// Has the same looked up in the cache alone, shortly before the deadline.
template <class T, class Start>
void Catalog::Implementation::prepareFallback(const SessionPtr& session,
                                              const std::shared_ptr<detail::Asked<T>>& question,
                                              const SharedKeys& keys, const Beginning& beginning,
                                              const Start& start) {
  if (beginning.source == Source::cacheOnly || question->hasEnded()) return;
  const auto& timer = beginning.timer;
  const auto cached = [weak = std::weak_ptr(session), gate = session->gate, keys, timer,
                       source = beginning.source, start] {
    const auto inquiries = std::make_shared<Inquiry::Common>();  // nobody is told of these
    inquiries->timer = timer;
    const auto inquiry =
        std::make_shared<Inquiry>(inquiries, QuestionKind::load, TimedQueue::Delay::zero(), gate);
    const auto inner = std::make_shared<detail::Asked<T>>(
        *keys, detail::Terms{nullptr, timer, nullptr, SubscriptionScope(), inquiry});
    const auto current = weak.lock();
    if (current) start(current, inner, Source::cacheOnly);
    inner->end(End::answered, Missing(Missing::Why::notCached));
    auto answer = inner->take();
    if constexpr (std::is_same_v<T, ObjectCompactLayoutInfo>) {
      if (current) addArrived(*current->services.compactLayouts, answer);
    }
    // Only the server is to say what it does not know, where it is to be asked first.
    if (source == Source::serverFirst) answer.missing.clear();
    return answer;
  };
  fallBackAtDeadline<T>(question, keys->empty(), timer, beginning.begun, beginning.deadline,
                        BoundedQueue::lookups(), cached);
}

}  // namespace vellora
