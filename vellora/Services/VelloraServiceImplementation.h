#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/SObjectsDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Queues/DispatchGroup.h"
#include "vellora/Services/VelloraService.h"

namespace vellora {

/// What a `VelloraService` consists of.
///
/// Ownership: shared by the façade and by the calls into it, so that what is under way can hold it weakly.
class VelloraService::Implementation : public std::enable_shared_from_this<Implementation> {
 public:
  Implementation(const RequiredAPI& api, double cacheTimeout, std::string theme,
                 std::shared_ptr<DispatchQueue> queue);

  /// Makes sure that both lists are cached and fresh; starts both loads on the queue. Sets the state.
  void prefetch();

  [[nodiscard]] const Published<State>& primerState() const noexcept { return primerState_; }
  [[nodiscard]] const Subject<WillChange>& objectWillChange() const noexcept { return objectWillChange_; }
  [[nodiscard]] bool primedAndCached() const;

  void objectPresentationInfoForIds(const std::vector<std::string>& ids, PresentationCompletion completion);
  void objectPresentationInfoForApiNames(const std::vector<std::string>& apiNames,
                                         PresentationCompletion completion);
  void objectLayoutInfoForApiNames(const std::vector<std::string>& apiNames, LayoutCompletion completion);
  void objectCompactLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                          CompactLayoutCompletion completion);

 private:
  using Infos = std::map<std::string, ObjectPresentationInfo>;
  using Themes = std::map<std::string, std::optional<ThemeItem>>;

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
  [[nodiscard]] ObjectPresentationInfo createObjectPresentationInfo(
      const SObject& sObject, const std::optional<SObject>& sObjectInstance, const Themes& themes) const;

  void log(const std::string& text) const;

  // Constant after construction.
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
  const std::shared_ptr<DispatchQueue> queue_;
  const std::shared_ptr<ThemeDataService> themeDataService_;
  const std::shared_ptr<SObjectsDataService> sObjectsDataService_;
  const std::shared_ptr<LayoutDataService> layoutDataService_;
  const std::shared_ptr<CompactLayoutDataService> compactLayoutDataService_;
  const std::string theme_;

  // Synchronise themselves.
  Cancellables subscriptions_;
  const Subject<WillChange> objectWillChange_;
  const Published<State> primerState_;
};

}  // namespace vellora
