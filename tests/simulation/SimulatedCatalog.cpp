#include "tests/simulation/SimulatedCatalog.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "hostkit/StandardPlatformAPI.h"

namespace vellora::simulation {

namespace {

using Kind = SimulatedQuestion::Kind;

bool isOpen(const SimulatedQuestion& question) {
  return question.answers == 0 && !question.isGivenUp;
}

}  // namespace

SimulatedCatalog::SimulatedCatalog(World& world, SimulatedCache& cache)
    : world_(world), host_(world, cache, nullptr), cause_(world.newCause(Cause::Kind::catalog)) {
  world_.trace("construct a catalogue");
  const auto& api = host_.api();
  world_.during(cause_, [&] {
    catalog_ = std::make_unique<Catalog>(
        std::make_shared<hostkit::StandardPlatformAPI>(api.network, api.cache, api.logger),
        CatalogOptions{.cacheTimeout = std::chrono::duration<double>(World::timeout),
                       .answersOn = answers_,
                       .timer = timer_});
  });
}

std::set<std::string> SimulatedCatalog::drawnKeys(bool areIds) {
  static const std::vector<std::string> someIds{"001a",    "003b", "801d", "00Baccounts", "00B", "00Borders",
                                                "00Bnone", "zzz",  "0",    "00B'x",       ""};
  static const std::vector<std::string> someNames{"Account",  "Contact", "Order",    "Note", "User",
                                                  "ListView", "Nothing", "Ac,count", ""};
  const auto& from = areIds ? someIds : someNames;
  std::set<std::string> keys;
  const auto count = 1 + world_.draw.below(4);
  for (std::size_t i = 0; i < count; ++i) keys.insert(from.at(world_.draw.below(from.size())));
  return keys;
}

void SimulatedCatalog::ask() {
  --left_;
  auto& asked = *asked_.emplace_back(std::make_unique<Asked>());
  asked.question.kind = static_cast<Kind>(world_.draw.below(6));
  asked.question.number = static_cast<int>(asked_.size());
  const bool isKeyed = asked.question.kind != Kind::allTypes && asked.question.kind != Kind::refresh;
  if (isKeyed) asked.question.keys = drawnKeys(asked.question.kind == Kind::records);
  world_.trace("ask " + asked.question.title());
  world_.during(cause_, [&] { askFor(asked); });
}

QuestionOptions SimulatedCatalog::drawnOptions(Asked& asked) {
  constexpr std::array<int, 5> deadlines{10, 10, 5, 1, 0};
  constexpr std::array<Source, 4> sources{Source::cacheFirst, Source::cacheFirst, Source::serverFirst,
                                          Source::cacheOnly};
  const std::chrono::seconds deadline(deadlines.at(world_.draw.below(deadlines.size())));
  asked.question.deadline = timer_->time() + deadline;
  asked.question.source = sources.at(world_.draw.below(sources.size()));
  return {.deadline = deadline, .source = asked.question.source};
}

void SimulatedCatalog::askFor(Asked& asked) {
  auto options = drawnOptions(asked);
  const auto stop = asked.stop.get_token();
  options.stop = stop;
  const Keys keys(std::vector<std::string>(asked.question.keys.begin(), asked.question.keys.end()));
  switch (asked.question.kind) {
    case Kind::records:
      return wait(asked, catalog_->records(keys, options));
    case Kind::types:
      return wait(asked, catalog_->types(keys, options));
    case Kind::allTypes:
      return wait(asked, catalog_->allTypes("", options));
    case Kind::searchColumns:
      return wait(asked, catalog_->searchColumns(keys, options));
    case Kind::headlines:
      return wait(asked, catalog_->headlines(keys, options));
    case Kind::refresh:
      return wait(asked, catalog_->refresh(options));
  }
}

template <class T>
Waiter SimulatedCatalog::waitFor(Question<T> question, std::function<void(const Answer<T>&)> take) {
  take(co_await question);
}

template <class T>
void SimulatedCatalog::wait(Asked& asked, Question<T> question) {
  const std::function<void(const Answer<T>&)> take = [this, &asked](const Answer<T>& answer) {
    noteAnswer(asked, answer);
  };
  switch (world_.draw.below(8)) {
    case 0:
      asked.question.isGivenUp = true;  // dropped
      return;
    case 1:
      asked.isDetached = true;
      return std::move(question).then(take).detach();
    case 2:
    case 3:
      asked.waiter.emplace(waitFor<T>(std::move(question), take));
      return;
    default:
      asked.token = std::move(question).then(take);
  }
}

template <class T>
void SimulatedCatalog::noteAnswer(Asked& asked, const Answer<T>& answer) {
  ++asked.question.answers;
  world_.trace("answer to " + asked.question.title());
  world_.expect(catalog_ != nullptr, "an answer of a catalogue that is gone: " + asked.question.title());
  checkAnswer(world_, asked.question, timer_->time(), answer);
  if (mayAsk() && world_.draw.oneIn(5)) ask();
  if (world_.draw.oneIn(16)) cancelSome();
  if (world_.draw.oneIn(world_.hazards.release)) release();
}

/// One that has not been answered, and that somebody holds; null when there is none.
SimulatedCatalog::Asked* SimulatedCatalog::drawnOpenOne() {
  std::vector<Asked*> open;
  for (const auto& asked : asked_) {
    if (isOpen(asked->question) && !asked->isDetached) open.push_back(asked.get());
  }
  return open.empty() ? nullptr : open.at(world_.draw.below(open.size()));
}

void SimulatedCatalog::cancelSome() {
  Asked* const asked = drawnOpenOne();
  if (!asked) return;
  world_.trace("give up " + asked->question.title());
  asked->question.isGivenUp = true;
  world_.during(cause_, [&] {
    asked->waiter.reset();
    asked->token.cancel();
  });
}

void SimulatedCatalog::stopSome() {
  Asked* const asked = drawnOpenOne();
  if (!asked) return;
  world_.trace("stop " + asked->question.title());
  asked->question.isStopped = true;
  world_.during(cause_, [&] { asked->stop.request_stop(); });
}

void SimulatedCatalog::forget() {
  if (!catalog_) return;
  world_.trace("forget");
  for (const auto& asked : asked_) asked->question.isStopped = true;
  world_.during(cause_, [&] { catalog_->forget(); });
}

void SimulatedCatalog::release() {
  if (!catalog_) return;
  world_.trace("release a catalogue");
  for (const auto& asked : asked_) {
    if (isOpen(asked->question)) asked->question.isGivenUp = true;
  }
  world_.during(cause_, [&] { const auto doomed = std::move(catalog_); });
  world_.expect(timer_->pending() == 0, "a deadline outlives its catalogue");
}

void SimulatedCatalog::runAnswer() {
  world_.during(cause_, [this] { answers_->runNext(); });
}

/// Once the answers that are on their way have come, too, no question is open whose deadline has passed.
void SimulatedCatalog::passDeadline() {
  world_.trace("the next deadline comes");
  world_.during(cause_, [this] { timer_->advanceToNext(); });
  if (!world_.draw.oneIn(2)) return;
  const auto now = timer_->time();
  while (hasAnswers()) runAnswer();
  for (const auto& asked : asked_) {
    world_.expect(!isOpen(asked->question) || asked->question.deadline >= now,
                  "a question outlasts its deadline: " + asked->question.title());
  }
}

void SimulatedCatalog::checkEnded() {
  for (const auto& asked : asked_) {
    const auto& question = asked->question;
    world_.expect(question.answers == (question.isGivenUp ? 0 : 1),
                  "a question never ends: " + question.title());
  }
  world_.expect(timer_->pending() == 0, "a deadline is left although all has ended");
}

void SimulatedCatalog::checkGone() {
  world_.during(cause_, [this] { asked_.clear(); });
  world_.expect(!host_.isInUse(), "something keeps the host of a catalogue that is gone");
  world_.expect(answers_.use_count() == 1, "something keeps the queue of a catalogue that is gone");
  world_.expect(timer_.use_count() == 1, "something keeps the timer of a catalogue that is gone");
}

std::size_t SimulatedCatalog::answered() const {
  return static_cast<std::size_t>(std::count_if(
      asked_.begin(), asked_.end(), [](const auto& asked) { return asked->question.answers > 0; }));
}

}  // namespace vellora::simulation
