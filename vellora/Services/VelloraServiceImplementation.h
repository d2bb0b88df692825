#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/DataServices/LogLine.h"
#include "vellora/DataServices/MetadataServices.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Queues/DispatchGroup.h"
#include "vellora/Services/VelloraService.h"

namespace vellora {

/// What a `VelloraService` consists of.
///
/// Ownership: the `VelloraService` and each pending layout lookup share a handle to it, the one that `make`
/// returns. When the last copy of that goes, what is under way ends. Calls into it hold it by a
/// `std::shared_ptr` of another kind, from `shared_from_this`, which only keeps its memory: so a call that
/// takes long answers no lookup after `~VelloraService`. All else holds it weakly.
class VelloraService::Implementation : public std::enable_shared_from_this<Implementation> {
 public:
  /// Use `make`.
  Implementation(const RequiredAPI& api, double cacheTimeout, std::string theme,
                 std::shared_ptr<DispatchQueue> queue);

  /// Makes one, and returns the handle whose last copy ends it.
  [[nodiscard]] static std::shared_ptr<Implementation> make(const RequiredAPI& api, double cacheTimeout,
                                                            std::string theme,
                                                            std::shared_ptr<DispatchQueue> queue);

  /// Makes sure that both lists are cached and fresh; starts both loads on the queue. Sets the state.
  void prefetch();

  [[nodiscard]] const Published<State>& primerState() const noexcept { return primerState_; }
  [[nodiscard]] const Subject<WillChange>& objectWillChange() const noexcept { return objectWillChange_; }
  [[nodiscard]] bool primedAndCached() const;
  [[nodiscard]] const MetadataServices& services() const noexcept { return services_; }

  void objectPresentationInfoForIds(const std::vector<std::string>& ids, PresentationCompletion completion);
  void objectPresentationInfoForApiNames(const std::vector<std::string>& apiNames,
                                         PresentationCompletion completion);

  /// A pending layout lookup keeps `facade`, a handle to this object, until it has answered. The two stand in
  /// LayoutLookups.cpp, which is compiled for speed.
  void objectLayoutInfoForApiNames(std::shared_ptr<Implementation> facade,
                                   const std::vector<std::string>& apiNames, LayoutCompletion completion);
  void objectCompactLayoutInfoForApiNames(std::shared_ptr<Implementation> facade,
                                          const std::vector<std::string>& apiNames,
                                          CompactLayoutCompletion completion);

 private:
  using Infos = std::map<std::string, ObjectPresentationInfo>;
  using Themes = std::map<std::string, std::optional<ThemeItem>>;

  class Ending;
  class LoadEnd;
  class PresentationLookup;

  void loadThemes(const DispatchGroup& group);
  void loadSObjects(const DispatchGroup& group);
  template <class Load>
  void startLoad(const DispatchGroup& group, std::string_view loading, Load load);
  template <class E>
  void noteFailure(const E& error, std::string_view loading);
  void finishPrefetch();

  /// Calls `completion` once the state is not, or no longer, `isLoading`; a prefetch that has finished is run
  /// again first, so that expired caches are refreshed and a failed load is tried anew.
  void waitForPrefetch(std::function<void()> completion);

  void objectPresentationInfoForIdsOnceLoaded(const std::vector<std::string>& ids,
                                              PresentationCompletion completion);
  void objectPresentationInfoForApiNamesFetchIfNeeded(const std::vector<std::string>& apiNames,
                                                      PresentationCompletion completion);
  /// Its log line is written in the memory of `line`, which has no other use: a lookup of many takes it once.
  [[nodiscard]] ObjectPresentationInfo createObjectPresentationInfo(
      const SObject& sObject, const std::optional<SObject>& sObjectInstance, const Themes& themes,
      std::string& line) const;

  void log(std::string_view text, LineParts parts = {}) const;

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const std::shared_ptr<DispatchQueue> queue_;
  const MetadataServices services_;
  const std::string theme_;

  // Synchronise themselves.
  Cancellables subscriptions_;  // of the presentation lookups, those that wait for a prefetch included
  const Subject<WillChange> objectWillChange_;
  const Published<State> primerState_;
};

}  // namespace vellora
