#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Lists.h"
#include "vellora/Catalog/Session.h"
#include "vellora/DataServices/KeyResult.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SerialGate.h"

namespace vellora {

/// Finds the answer to `records` or `types`: prepares the lists, finds out the type of each key, then the
/// theme entries of these types, and pairs them.
///
/// Keys go on in batches. The first is all that the cache has answered. What comes later, from the server,
/// makes batches of its own, so a key whose request hangs keeps none of the others.
///
/// Ownership: shared by the pipelines that work for it, which the question cuts at its end.
///
/// Threads: works where it is started, and where the network calls back. A gate lets one step through at a
/// time.
class InfoLookup : public std::enable_shared_from_this<InfoLookup> {
 public:
  using AskedPtr = std::shared_ptr<detail::Asked<ObjectPresentationInfo>>;

  /// What is asked for.
  struct Wanted {
    enum class Kind { ids, names };

    Kind kind;
    std::shared_ptr<const std::vector<std::string>> keys;
    std::string theme;
    Source source;
  };

  InfoLookup(std::shared_ptr<const Session> session, AskedPtr question, Wanted wanted);

  void start();

 private:
  using TypeAndInstance = SObjectsDataService::TypeAndInstance;
  using Found = KeyResult<TypeAndInstance>;
  using Batch = std::vector<Found>;
  using Themes = std::map<std::string, std::optional<ThemeItem>>;

  void findTypes(const PreparedLists& lists);
  void ask(const std::vector<std::string>& keys, Source source);
  /// What the cache has of a key that the server was asked for in vain, else `failed`.
  [[nodiscard]] Found cachedOr(Found failed) const;
  [[nodiscard]] Publisher<Found> typesOf(const std::vector<std::string>& keys, Source source) const;

  // Called in the gate.
  void take(Found found);
  void findThemes();
  [[nodiscard]] std::set<std::string> newTypesIn(const Batch& batch) const;
  void pair(const Batch& batch);
  [[nodiscard]] const std::optional<ThemeItem>& themeOf(const std::optional<SObject>& type) const;
  [[nodiscard]] Missing missing(const Found& found) const;

  /// Has `step(lookup)` run in the gate. The question fails when there is no memory for it.
  template <class Step>
  void inGate(Step step);

  // Constant after construction.
  const std::shared_ptr<const Session> session_;
  const AskedPtr question_;
  const Wanted wanted_;

  PreparedLists lists_;  // set once, before keys are asked for

  SerialGate gate_;
  // Changed in the gate.
  bool isCollecting_ = false;  // the cache is answering
  Batch batch_;
  Themes themes_;
};

}  // namespace vellora
