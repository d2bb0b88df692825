#include "tests/simulation/SimulatedQuestion.h"

#include <array>
#include <optional>
#include <utility>

#include "vellora/Catalog/QuestionError.h"

namespace vellora::simulation {

namespace {

using Kind = SimulatedQuestion::Kind;
using Mark = SimulatedServer::Mark;
using Type = SimulatedServer::Type;
using Why = Missing::Why;

/// The type that `key` stands for; null for none.
const Type* typeOf(const SimulatedQuestion& question, const std::string& key) {
  return question.kind == Kind::records ? SimulatedServer::withPrefixOf(key) : SimulatedServer::named(key);
}

/// Whether the server has what is asked about `key`.
bool isKnown(const SimulatedQuestion& question, const std::string& key) {
  const auto* type = typeOf(question, key);
  const bool isLayout = question.kind == Kind::searchColumns || question.kind == Kind::headlines;
  return type && (type->laidOut || !isLayout);
}

bool mayBeAsked(const SimulatedQuestion& question, const std::string& key) {
  if (key.empty()) return false;
  if (question.kind == Kind::records) return key.find('\'') == std::string::npos;
  return question.kind == Kind::types || key.find(',') == std::string::npos;
}

bool isCacheCalm(const World& world) {
  return world.hazards.faultyRead == 0 && world.hazards.refusedWrite == 0;
}

bool isNetworkCalm(const World& world) {
  return world.hazards.faultyAnswer == 0 && world.hazards.droppedRequest == 0;
}

void checkReason(World& world, const SimulatedQuestion& question, const std::string& key,
                 const Missing& missing, End end) {
  const auto expect = [&](bool holds, const std::string& text) {
    world.expect(holds, text + ": " + key + ", of " + question.title());
  };
  expect(missing.why() != Why::notAsked || !mayBeAsked(question, key), "a key is refused that may be asked");
  expect(missing.why() == Why::notAsked || mayBeAsked(question, key) || end == End::cancelled,
         "a key is asked that may not be");
  switch (missing.why()) {
    case Why::unknown:
      return expect(!isKnown(question, key) || !isCacheCalm(world), "a key is unknown that the server knows");
    case Why::failed:
      expect(missing.failure() != nullptr, "a failure without a reason");
      return expect(!isCacheCalm(world) || !isNetworkCalm(world), "a key fails although nothing did");
    case Why::notCached:
      return expect(question.source == Source::cacheOnly, "a key is only looked for in the cache");
    case Why::timedOut:
      return expect(end == End::timedOut, "a key timed out without its question");
    case Why::cancelled:
      return expect(end == End::cancelled, "a key was given up without its question");
    case Why::notAsked:
      break;
  }
}

/// Whether it is told of nothing but its deadline: what the cache knew by then is its answer.
bool isOfTheDeadline(const std::optional<Failure>& trouble, End end) {
  const auto* late = trouble ? trouble->error().as<QuestionError>() : nullptr;
  return end == End::timedOut && late != nullptr && late->errorCase == QuestionError::Case::timedOut;
}

void checkEnd(World& world, const SimulatedQuestion& question, TimedQueue::Delay now, End end,
              const std::optional<Failure>& trouble) {
  const auto expect = [&](bool holds, const std::string& text) {
    world.expect(holds, text + ": " + question.title());
  };
  expect(!question.isGivenUp, "an answer to a question that was given up");
  expect(question.answers == 1, "a question is answered twice");
  expect(end != End::cancelled || question.isStopped, "a question ends that nobody stopped");
  expect(end != End::timedOut || now >= question.deadline, "a question ends before its deadline");
  expect(end != End::failed || trouble.has_value(), "a question fails without a reason");
  const bool mayLack = question.source == Source::cacheOnly || !isCacheCalm(world) || !isNetworkCalm(world) ||
                       isOfTheDeadline(trouble, end);
  expect(!trouble || mayLack, "trouble although all went well");
}

/// Ends, keys and reasons; what was found is checked by `checkFound(key, value)`.
template <class T, class CheckFound>
void check(World& world, const SimulatedQuestion& question, TimedQueue::Delay now, const Answer<T>& answer,
           CheckFound checkFound) {
  checkEnd(world, question, now, answer.end, answer.trouble);
  const bool isKeyed = question.kind != Kind::allTypes && question.kind != Kind::refresh;
  std::set<std::string> accounted;
  for (const auto& [key, value] : answer.found) {
    accounted.insert(key);
    checkFound(key, value);
  }
  for (const auto& [key, missing] : answer.missing) {
    world.expect(accounted.insert(key).second, "a key is found and missing: " + key);
    checkReason(world, question, key, missing, answer.end);
  }
  if (isKeyed) world.expect(accounted == question.keys, "not each key is accounted for: " + question.title());
}

void checkPresentation(World& world, const PresentationInfo& info, const Type& type, bool mayLackColours) {
  const auto& cause = world.cause();
  const auto revision = SimulatedServer::revisionIn(info.label, type.name, Mark::sObjectMark);
  if (!revision) return world.breach("labels of another type: " + info.label.value_or("none"));
  world.expect(cause.wasHanded(type.name, Mark::sObjectMark, *revision),
               "labels that nobody handed out: " + *info.label);
  const auto themeRevision = SimulatedServer::revisionIn(info.color, type.name, Mark::themeMark);
  world.expect(themeRevision || !type.themed || mayLackColours || !isCacheCalm(world),
               "no colours of " + type.name + ", and nothing says why");
  if (themeRevision) {
    world.expect(cause.wasHanded(type.name, Mark::themeMark, *themeRevision),
                 "colours that nobody handed out: " + *info.color);
  }
  world.expect(info == SimulatedServer::presentation(type, *revision, themeRevision), "a changed record");
}

/// Whether `holds(revision)` for one of the revisions of a layout that the host handed out.
template <class Holds>
bool isHandedLayout(const World& world, const std::string& name, Mark mark, Holds holds) {
  for (int revision = 0; revision <= world.revision; ++revision) {
    if (world.cause().wasHanded(name, mark, revision) && holds(revision)) return true;
  }
  return false;
}

}  // namespace

std::string SimulatedQuestion::title() const {
  static constexpr std::array<const char*, 6> names{"records",       "types",     "allTypes",
                                                    "searchColumns", "headlines", "refresh"};
  std::string text = std::string(names.at(static_cast<std::size_t>(kind))) + " " + std::to_string(number);
  for (const auto& key : keys) text += " " + key;
  return text;
}

void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<ObjectPresentationInfo>& answer) {
  const bool mayLackColours = answer.trouble || question.source == Source::cacheOnly;
  check(world, question, now, answer, [&](const std::string& key, const ObjectPresentationInfo& info) {
    const auto* type = typeOf(question, key);
    if (!type) return world.breach("an entry for what the server doesn't know: " + key);
    checkPresentation(world, info.typePresentationInfo, *type, mayLackColours);
    const bool isListView = question.kind == Kind::records && type->name == "ListView";
    const auto* listed = isListView ? SimulatedServer::listedBy(key) : nullptr;
    const auto& instance = info.instancePresentationInfo;
    world.expect(listed || !instance, "an instance for " + key);
    if (listed && instance) checkPresentation(world, *instance, *listed, mayLackColours);
  });
  if (question.kind != Kind::allTypes || answer.end != End::answered) return;
  world.expect(answer.found.size() == SimulatedServer::types().size(), "not all types are listed");
}

void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<ObjectLayoutInfo>& answer) {
  check(world, question, now, answer, [&](const std::string& key, const ObjectLayoutInfo& layout) {
    const auto* type = SimulatedServer::named(key);
    world.expect(type && isHandedLayout(world, key, Mark::searchMark,
                                        [&](int revision) {
                                          return layout == SimulatedServer::searchLayout(*type, revision);
                                        }),
                 "the search layout of " + key);
  });
}

void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<ObjectCompactLayoutInfo>& answer) {
  check(world, question, now, answer, [&](const std::string& key, const ObjectCompactLayoutInfo& layout) {
    const auto* type = SimulatedServer::named(key);
    const auto isLayout = [&](int revision) {
      return layout == SimulatedServer::compactLayout(*type, revision, true) ||
             (!isNetworkCalm(world) && layout == SimulatedServer::compactLayout(*type, revision, false));
    };
    world.expect(type && isHandedLayout(world, key, Mark::compactMark, isLayout),
                 "the compact layout of " + key);
  });
}

void checkAnswer(World& world, const SimulatedQuestion& question, TimedQueue::Delay now,
                 const Answer<TypeChange>& answer) {
  check(world, question, now, answer, [&](const std::string& name, TypeChange change) {
    world.expect(SimulatedServer::named(name) != nullptr, "a change of a type that never was: " + name);
    world.expect(change != TypeChange::removed || !isCacheCalm(world), "the server drops no types");
  });
}

}  // namespace vellora::simulation
