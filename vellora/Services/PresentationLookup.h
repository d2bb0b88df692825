#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Services/VelloraServiceImplementation.h"

namespace vellora {

/// One presentation lookup: its steps, and what they have found so far.
///
/// A lookup by ids takes `keepTypes`, `themesOf` and `infosOfRecords`, one after the other. A lookup by
/// API names calls `keepInfos` with object types and themes, when both are there, and `takeInfos` at the end.
///
/// Ownership: shared by the steps of a pipeline; holds the façade weakly. Once that is gone, the steps log
/// nothing and find nothing more.
///
/// Threads: the pipeline calls one step at a time.
class VelloraService::Implementation::PresentationLookup {
 public:
  using SObjectsById = std::map<std::string, SObjectsDataService::TypeAndInstance>;
  using SObjectsByName = std::map<std::string, std::optional<SObject>>;
  using ThemeItems = std::map<std::string, ThemeItem>;

  /// `signature` begins each log line.
  PresentationLookup(std::weak_ptr<Implementation> facade, std::string signature)
      : facade_(std::move(facade)), signature_(std::move(signature)) {}

  /// Logs how many are asked for; `counted` names them, "ids" or "apiNames".
  void logStart(std::string_view counted, std::size_t count) const;
  /// Logs the signature alone. Takes no memory: the answer of a lookup by names follows this line.
  void logEnd() const;

  /// Keeps what the ids stand for; gives the distinct names of all types and instances.
  [[nodiscard]] std::vector<std::string> keepTypes(SObjectsById found);
  /// The theme entries of these types. Without the façade it never ends: nobody is to be answered.
  [[nodiscard]] Publisher<ThemeItems> themesOf(std::vector<std::string> names) const;
  /// What the kept types look like, by id. Lets go of the types.
  [[nodiscard]] Infos infosOfRecords(ThemeItems items);

  /// Keeps what these types look like, by name.
  void keepInfos(const SObjectsByName& sObjects, ThemeItems items);
  [[nodiscard]] Infos takeInfos() { return std::move(infos_); }

 private:
  const std::weak_ptr<Implementation> facade_;
  const std::string signature_;
  SObjectsById types_;
  Infos infos_;
};

}  // namespace vellora
