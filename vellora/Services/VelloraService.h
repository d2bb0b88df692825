#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/Host/PlatformAPI.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Services/VelloraServiceError.h"
#include "vellora/Services/VelloraServicing.h"

namespace vellora {

class Catalog;
struct MetadataServices;

/// The library: answers what the types of a records server's objects look like. Construct it early and keep
/// it: it begins at once to load the object types and their themes, so that the first screen finds them.
///
///     const auto queue = std::make_shared<SerialDispatchQueue>(
///         std::string(VelloraService::Constants::queueLabel), DispatchQoS::userInitiated);
///     VelloraService service(host, 3600, "light", queue);
///     service.objectPresentationInfoForIds({"001000000000001"}, [](const auto& infos) { … });
///
/// What the lookups answer comes from the host's cache, and from the records server where the cache has
/// nothing. A prefetch fetches an expired list anew, a lookup of compact layouts an expired one. An expired
/// search layout is answered once more, and fetched by the lookup after that. Where in the cache, and from
/// which path of the server, is said by each data service: `SObjectsDataService`, `ThemeDataService`,
/// `LayoutDataService`, `CompactLayoutDataService`.
///
/// Ownership: owns its data services and shares the host's facilities. Destroying it ends what is under way:
/// once the destructor has returned, no presentation lookup is answered any more, but for a completion that
/// another thread is running, or is just about to run, at that moment.
///
/// A pending layout lookup is answered all the same, and until then it keeps all of the façade alive:
/// presentation lookups and the prefetch go on as well, and end with it. So a completion may run after the
/// destructor has returned. Let it capture by value, or weakly, whatever may be gone by then.
///
/// Threads: every member may be called from any thread, also from inside a completion or a change of
/// the state.
///
/// Errors: only the constructor throws. Later failures show in `primerState` and in what lookups
/// leave out. Where memory runs out, a call throws `std::bad_alloc`, and is then not answered later; out of
/// the caller's sight it counts as a failure like any other, and layout lookups answer with nothing.
///
/// Units: the cache time-out is in seconds.
class VELLORA_EXPORT VelloraService final : public VelloraServicing {
 public:
  struct Constants {
    /// The label for the serial queue that you pass in.
    static constexpr std::string_view queueLabel = "VelloraService.queue";
  };

  /// How far the loading has got. It begins with `isLoading`; each prefetch ends in one of the other two. An
  /// id lookup that finds a cache expired, or the last prefetch failed, starts the next one.
  ///
  /// A prefetch has failed as soon as one of its two loads has. An id lookup may then start the next prefetch
  /// while the other load is still under way. Prefetches that overlap so share this one state: the first to
  /// end makes `loaded` of `isLoading`, even when it had failed. A failure that comes while they overlap
  /// stays.
  ///
  /// Ownership: a plain value.
  ///
  /// Threads: immutable but for assignment, hence safe to read from several threads at once.
  class State {
   public:
    enum class Case {
      isLoading,  ///< a prefetch is running
      loaded,     ///< the last prefetch has both lists, fetched or from a fresh cache
      failed,     ///< the last prefetch reported an error from one of its two loads, or both: the later one
    };

    [[nodiscard]] static State isLoading() { return {Case::isLoading, std::nullopt}; }
    [[nodiscard]] static State loaded() { return {Case::loaded, std::nullopt}; }
    [[nodiscard]] static State failed(Error error) { return {Case::failed, std::move(error)}; }

    [[nodiscard]] Case stateCase() const noexcept { return case_; }

    /// The error of a failed prefetch, a `ThemeDataServiceError` or an `SObjectsDataServiceError`, or
    /// `OutOfMemory`; else null. Valid as long as this state.
    [[nodiscard]] const Error* error() const noexcept { return error_ ? &*error_ : nullptr; }

    /// The textual form: "isLoading", "loaded", "failed(…)".
    [[nodiscard]] std::string description() const;

    /// Two failures are equal when the localized descriptions of their errors are.
    friend VELLORA_EXPORT bool operator==(const State& left, const State& right);

   private:
    State(Case stateCase, std::optional<Error> error) : case_(stateCase), error_(std::move(error)) {}

    Case case_;
    std::optional<Error> error_;
  };

  /// Takes network, cache and logger from `api`, in that order, and starts the prefetch on `queue`, which
  /// should be serial. `cacheTimeout` is the age in seconds beyond which lists and layouts count as expired.
  /// With 0 each prefetch fetches both lists, each id lookup runs a prefetch, and each compact layout is
  /// fetched anew. A search layout is still answered once more from the cache, so that every second lookup
  /// fetches it. A negative time-out does the same; with one that is not a number nothing expires. `theme`
  /// names the theme whose colours and icons are wanted; for a theme that the server doesn't have, others'
  /// are taken where there is a fallback.
  ///
  /// Throws `VelloraServiceError::requiredAPI` when `api` lacks a facility, or there is no `api` or no
  /// `queue`; nothing has been started then.
  VelloraService(const std::shared_ptr<CorvaneSDK::PlatformAPI>& api, double cacheTimeout, std::string theme,
                 std::shared_ptr<DispatchQueue> queue);
  ~VelloraService() override;
  VelloraService(const VelloraService&) = delete;
  VelloraService& operator=(const VelloraService&) = delete;

  /// The name "VelloraService" and version 1, for the host's registry.
  [[nodiscard]] static CorvaneSDK::ServiceIdentifier serviceIdentifier();

  /// Does nothing: what the constructor was given stays in force.
  void configure(const std::shared_ptr<CorvaneSDK::PlatformAPI>& api) override;

  /// The state as it is now. It does not look at the cache: lists that have expired since are still `loaded`;
  /// ask `primedAndCached`.
  [[nodiscard]] State primerState() const;

  /// Yields the current state at once, inside `sink`, then every later one; never ends. `loaded` comes on a
  /// thread of the library, `failed` on the thread on which the load ended, and `isLoading` again inside the
  /// id lookup that runs a prefetch. While an earlier state is being delivered, the thread that does so
  /// delivers the later ones, too. Once the service is gone, the stream neither yields nor keeps its
  /// subscribers, but for a change that is being delivered at that moment; a pending layout lookup puts that
  /// off until it is answered.
  [[nodiscard]] Publisher<State> primerStateStream() const;

  /// Yields just before each change of the state, on the thread that changes it. An observer that is busy
  /// with an earlier notice gets this one when it returns, which may be after the change. Once the service
  /// is gone, it neither yields nor keeps its observers, as with `primerStateStream`.
  [[nodiscard]] Publisher<WillChange> objectWillChange() const;

  /// True when the state is `loaded` and neither cache has expired since: an id lookup then begins without a
  /// prefetch. It needs no request but for a list view whose type is not cached. Reads the host's cache.
  [[nodiscard]] bool primedAndCached() const;

  /// Lets go of all that is only remembered, as `Catalog::releaseMemory` does: when the system is short of
  /// memory.
  void releaseMemory() const;

  void objectPresentationInfoForIds(const std::vector<std::string>& ids,
                                    PresentationCompletion completion) override;
  void objectPresentationInfoForApiNames(const std::vector<std::string>& apiNames,
                                         PresentationCompletion completion) override;
  void objectLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                   LayoutCompletion completion) override;
  void objectCompactLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                          CompactLayoutCompletion completion) override;

 private:
  friend class Catalog;  // which may share the services
  class Implementation;

  [[nodiscard]] const MetadataServices& services() const;

  const std::shared_ptr<Implementation> implementation_;
};

}  // namespace vellora
