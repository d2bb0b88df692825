#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/PresentationInfo.h"
#include "vellora/Models/SObject.h"

namespace vellora::simulation {

/// The records server of a simulated world. Which types it has never changes; how they are labelled, drawn
/// and laid out changes with each revision. Every record bears a mark of what it is, of which type and
/// revision, such as "Account#3", so that a record that turns up anywhere can be traced to the answer that
/// brought it. The bodies are written here by hand, not by the library that reads them.
class SimulatedServer {
 public:
  /// Which kind of record a mark stands on.
  enum Mark : char { sObjectMark = '#', themeMark = '~', searchMark = '^', compactMark = '@' };

  struct Type {
    std::string name;
    std::string keyPrefix;  ///< empty: none
    bool themed = false;
    bool laidOut = false;
    bool ownedByUser = false;  ///< its compact layout has a reference field
  };

  enum class Endpoint { sObjects, themes, listView, searchLayouts, compactLayouts, nameFields };

  [[nodiscard]] static const std::vector<Type>& types();
  [[nodiscard]] static const Type* named(std::string_view name);
  [[nodiscard]] static const Type* withPrefixOf(std::string_view id);

  /// What the list view lists; null for one without type, and for one that the server doesn't know.
  [[nodiscard]] static const Type* listedBy(std::string_view id);

  /// No value when the library must never ask for that.
  [[nodiscard]] static std::optional<Endpoint> endpointOf(std::string_view url);

  [[nodiscard]] static std::string body(Endpoint endpoint, std::string_view url, int revision);

  [[nodiscard]] static std::string mark(std::string_view name, Mark kind, int revision);

  /// All marks in a text.
  [[nodiscard]] static std::set<std::string> marksIn(std::string_view text);

  /// The revision in `mark`, if that is one of that kind for the type `name`.
  [[nodiscard]] static std::optional<int> revisionIn(const std::optional<std::string>& mark,
                                                     std::string_view name, Mark kind);

  // What must arrive at a caller.
  [[nodiscard]] static SObject sObject(const Type& type, int revision);
  [[nodiscard]] static PresentationInfo presentation(const Type& type, int revision,
                                                     std::optional<int> themeRevision);
  [[nodiscard]] static ObjectLayoutInfo searchLayout(const Type& type, int revision);
  [[nodiscard]] static ObjectCompactLayoutInfo compactLayout(const Type& type, int revision,
                                                             bool referencesResolved);

  /// The JSON of the table from key prefixes to names.
  [[nodiscard]] static std::string keyPrefixes();
};

}  // namespace vellora::simulation
