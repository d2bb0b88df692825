#include "tests/simulation/Expectations.h"

#include <algorithm>
#include <set>

namespace vellora::simulation {

namespace {

using Endpoint = SimulatedServer::Endpoint;
using Mark = SimulatedServer::Mark;
using Outcome = SentRequest::Outcome;
using Type = SimulatedServer::Type;

/// Whether the host told the type of an id's prefix, each time that it was asked for this cause.
enum class Mapped { always, never, sometimes };

Mapped mappedFor(World& world, const std::string& id) {
  const auto& cause = world.cause();
  const auto found = cause.mapped.find(id.substr(0, 3));
  if (found == cause.mapped.end()) {
    world.breach("nobody asked for the prefix of " + id);
    return Mapped::never;
  }
  const auto& reads = found->second;
  const auto told = std::count(reads.begin(), reads.end(), true);
  if (told == 0) return Mapped::never;
  return told == static_cast<std::ptrdiff_t>(reads.size()) ? Mapped::always : Mapped::sometimes;
}

void checkSObject(World& world, const SObject& sObject, const Type& type) {
  const auto revision = SimulatedServer::revisionIn(sObject.label, type.name, Mark::sObjectMark);
  if (!revision) return world.breach("the describe entry of another type: " + sObject.label);
  world.expect(world.cause().wasHanded(type.name, Mark::sObjectMark, *revision),
               "a describe entry that nobody handed out: " + sObject.label);
  world.expect(sObject == SimulatedServer::sObject(type, *revision), "a changed describe entry");
}

void checkPresentation(World& world, const PresentationInfo& info, const Type& type) {
  const auto& cause = world.cause();
  const auto revision = SimulatedServer::revisionIn(info.label, type.name, Mark::sObjectMark);
  if (!revision) return world.breach("labels of another type: " + info.label.value_or("none"));
  world.expect(cause.wasHanded(type.name, Mark::sObjectMark, *revision),
               "labels that nobody handed out: " + *info.label);
  const auto themeRevision = SimulatedServer::revisionIn(info.color, type.name, Mark::themeMark);
  world.expect(themeRevision.has_value() == type.themed, "colours of " + type.name);
  if (themeRevision) {
    world.expect(cause.wasHanded(type.name, Mark::themeMark, *themeRevision),
                 "colours that nobody handed out: " + *info.color);
  }
  world.expect(info == SimulatedServer::presentation(type, *revision, themeRevision), "a changed record");
}

/// A lookup that answers with values has had every request of its own answered rightly.
void checkAllAnswered(World& world) {
  const auto& cause = world.cause();
  world.expect(!cause.failed() && !cause.has(Outcome::pending) && !cause.has(Outcome::dropped),
               "an answer without all that it is made of");
}

/// What a layout lookup must answer: for each type the revision of its layout.
using Revisions = std::map<std::string, int>;

bool isGood(const SentRequest* request) {
  return request && request->outcome == Outcome::good;
}

/// The names for which a download must ask are those that are not `cached`.
void addDownloaded(const Cause& cause, const SentRequest& download, const std::set<std::string>& cached,
                   Revisions& expected) {
  for (const auto& name : cause.keys) {
    const auto* type = SimulatedServer::named(name);
    if (type && type->laidOut && !cached.contains(name)) expected[name] = download.revision;
  }
}

Revisions expectedSearchLayouts(const Cause& cause) {
  Revisions expected;
  std::set<std::string> cached;
  for (const auto& layout : cause.layouts) {
    if (!layout.revision) continue;
    cached.insert(layout.name);
    expected[layout.name] = *layout.revision;
  }
  const auto* download = cause.requestTo(Endpoint::searchLayouts);
  if (isGood(download)) addDownloaded(cause, *download, cached, expected);
  return expected;
}

Revisions expectedCompactLayouts(const Cause& cause) {
  Revisions fresh;
  Revisions found;
  std::set<std::string> freshNames;
  for (const auto& layout : cause.layouts) {
    if (!layout.revision) continue;
    found[layout.name] = *layout.revision;
    if (layout.expired) continue;
    fresh[layout.name] = *layout.revision;
    freshNames.insert(layout.name);
  }
  const auto* download = cause.requestTo(Endpoint::compactLayouts);
  if (!download) return fresh;
  if (!isGood(download)) return found;
  addDownloaded(cause, *download, freshNames, fresh);
  return fresh;
}

template <class Layout, class Make>
void checkLayouts(World& world, const std::map<std::string, Layout>& layouts, const Revisions& expected,
                  Make make) {
  for (const auto& [name, revision] : expected) {
    const auto found = layouts.find(name);
    if (found == layouts.end()) {
      world.breach("the layout of " + name + " is missing");
    } else {
      make(found->second, *SimulatedServer::named(name), revision);
    }
  }
  world.expect(layouts.size() == expected.size(), "layouts that were not to be there");
}

}  // namespace

void checkIds(World& world, const std::map<std::string, ObjectPresentationInfo>& infos) {
  checkAllAnswered(world);
  const auto& cause = world.cause();
  world.expect(cause.begun, "an id lookup answers after its beginning");
  for (const auto& id : cause.keys) {
    const auto* type = SimulatedServer::withPrefixOf(id);
    const auto mapped = mappedFor(world, id);
    const auto found = infos.find(id);
    if (mapped != Mapped::sometimes) {
      world.expect((found != infos.end()) == (mapped == Mapped::always),
                   "whether there is an entry for " + id);
    }
    if (found == infos.end() || !type) continue;
    checkPresentation(world, found->second.typePresentationInfo, *type);
    const auto* listed = type->name == "ListView" ? SimulatedServer::listedBy(id) : nullptr;
    const auto& instance = found->second.instancePresentationInfo;
    if (!listed || !listed->themed) {
      world.expect(!instance, "an instance for " + id);
    } else if (instance) {
      checkPresentation(world, *instance, *listed);
    } else {
      world.expect(mapped == Mapped::sometimes, "no instance for " + id);
    }
  }
  const std::set<std::string> asked(cause.keys.begin(), cause.keys.end());
  for (const auto& [id, info] : infos) world.expect(asked.contains(id), "an entry nobody asked for: " + id);
}

void checkNames(World& world, const std::map<std::string, ObjectPresentationInfo>& infos) {
  const auto& cause = world.cause();
  if (cause.failed()) return world.expect(infos.empty(), "entries although a request failed");
  checkAllAnswered(world);
  std::set<std::string> known;
  for (const auto& name : cause.keys) {
    const auto* type = SimulatedServer::named(name);
    if (!type || !known.insert(name).second) continue;
    const auto found = infos.find(name);
    if (found == infos.end()) {
      world.breach("no entry for " + name);
    } else {
      checkPresentation(world, found->second.typePresentationInfo, *type);
      world.expect(!found->second.instancePresentationInfo, "an instance for the name " + name);
    }
  }
  world.expect(infos.size() == known.size(), "entries that nobody asked for");
}

void checkSearchLayouts(World& world, const std::map<std::string, ObjectLayoutInfo>& layouts) {
  checkLayouts(world, layouts, expectedSearchLayouts(world.cause()),
               [&](const ObjectLayoutInfo& layout, const Type& type, int revision) {
                 world.expect(layout == SimulatedServer::searchLayout(type, revision),
                              "the search layout of " + type.name);
               });
}

void checkCompactLayouts(World& world, const std::map<std::string, ObjectCompactLayoutInfo>& layouts) {
  const auto& cause = world.cause();
  const auto* nameFields = cause.requestTo(Endpoint::nameFields);
  world.expect(isGood(cause.requestTo(Endpoint::compactLayouts)) == (nameFields != nullptr),
               "name fields are asked for after a download");
  const auto expected = expectedCompactLayouts(cause);
  checkLayouts(world, layouts, expected,
               [&](const ObjectCompactLayoutInfo& layout, const Type& type, int revision) {
                 const bool raw = layout == SimulatedServer::compactLayout(type, revision, false);
                 const bool resolved = layout == SimulatedServer::compactLayout(type, revision, true);
                 const bool cached =
                     std::any_of(cause.layouts.begin(), cause.layouts.end(), [&](const HandedLayout& handed) {
                       return handed.name == type.name && handed.revision == revision && !handed.expired;
                     });
                 const bool mayBeRaw = nameFields && !isGood(nameFields) && !cached;
                 world.expect(resolved || (raw && mayBeRaw), "the compact layout of " + type.name);
               });
}

void checkSObjectsForIds(World& world,
                         const std::map<std::string, SObjectsDataService::TypeAndInstance>& found) {
  checkAllAnswered(world);
  const std::set<std::string> asked(world.cause().keys.begin(), world.cause().keys.end());
  world.expect(found.size() == asked.size(), "one tuple for each id");
  for (const auto& [id, tuple] : found) {
    const auto* type = SimulatedServer::withPrefixOf(id);
    const auto mapped = mappedFor(world, id);
    if (mapped != Mapped::sometimes) {
      world.expect(tuple.type.has_value() == (mapped == Mapped::always), "the type of " + id);
    }
    if (!type) continue;
    if (tuple.type) checkSObject(world, *tuple.type, *type);
    const auto* listed = type->name == "ListView" ? SimulatedServer::listedBy(id) : nullptr;
    world.expect(listed || !tuple.instance, "an instance of " + id);
    if (listed && tuple.instance) checkSObject(world, *tuple.instance, *listed);
    if (listed && mapped == Mapped::always) world.expect(tuple.instance.has_value(), "no instance of " + id);
  }
}

void checkSObjectsForNames(World& world, const std::map<std::string, std::optional<SObject>>& found) {
  checkAllAnswered(world);
  const std::set<std::string> asked(world.cause().keys.begin(), world.cause().keys.end());
  world.expect(found.size() == asked.size(), "one value for each name");
  for (const auto& [name, sObject] : found) {
    const auto* type = SimulatedServer::named(name);
    world.expect(sObject.has_value() == (type != nullptr), "whether " + name + " is known");
    if (type && sObject) checkSObject(world, *sObject, *type);
  }
}

void checkThemes(World& world, const std::map<std::string, ThemeItem>& found) {
  checkAllAnswered(world);
  std::set<std::string> themed;
  for (const auto& name : world.cause().keys) {
    const auto* type = SimulatedServer::named(name);
    if (type && type->themed) themed.insert(name);
  }
  world.expect(found.size() == themed.size(), "one entry for each type with a theme");
  for (const auto& [name, theme] : found) {
    const auto revision = SimulatedServer::revisionIn(theme.color("light"), name, Mark::themeMark);
    world.expect(revision && theme.name == name && world.cause().wasHanded(name, Mark::themeMark, *revision),
                 "the theme of " + name);
  }
}

std::optional<bool> mustHaveAnswered(const Cause& cause) {
  using Kind = Cause::Kind;
  switch (cause.kind) {
    case Kind::ids:
      if (!cause.begun) return std::nullopt;
      [[fallthrough]];
    case Kind::sObjectsForIds:
    case Kind::sObjectsForNames:
    case Kind::themes:
      return !cause.failed() && !cause.has(Outcome::dropped);
    case Kind::names:  // the failure is told at once, whatever is still on its way
      if (cause.failed()) return true;
      return !cause.has(Outcome::dropped);
    case Kind::sObjectsLoad:
    case Kind::themesLoad:
    case Kind::searchLayouts:
    case Kind::searchLayoutList:
      return !cause.has(Outcome::dropped);
    case Kind::compactLayouts:
    case Kind::compactLayoutList:
      return !cause.has(Outcome::dropped) && !cause.superseded;
    case Kind::nobody:
    case Kind::prefetch:
    case Kind::catalog:
      break;
  }
  return std::nullopt;
}

}  // namespace vellora::simulation
