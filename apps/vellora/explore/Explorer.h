#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/explore/Activity.h"
#include "apps/vellora/explore/ExplorerAnswers.h"
#include "apps/vellora/explore/IconStore.h"
#include "apps/vellora/explore/ObservedNetwork.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/Network.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::explore {

/// Where icons come from.
struct IconSource {
  /// Sends to the records server, without the user's token and on connections of its own: the server chooses
  /// what is asked of this network.
  std::shared_ptr<CorvaneSDK::Network> network;
  std::string key;  ///< begins the ids of icons; nobody can guess it
};

/// Runs the library for the page, on a host whose calls are observed and whose server can be taken away.
///
/// Ownership: make it with `std::make_shared`; shares the host. Pending lookups hold it weakly.
///
/// Threads: every member may be called from any thread. Completions run where the library answers, which may
/// be inside the call.
///
/// Errors: a failed lookup is an answer that says why.
class Explorer : public std::enable_shared_from_this<Explorer> {
 public:
  /// `arguments` give server, theme and cache time-out; `secrets` are kept out of the activity. Starts the
  /// façade's first prefetch.
  Explorer(const RequiredAPI& host, command::Arguments arguments, IconSource icons,
           std::shared_ptr<const hostkit::KnownSecrets> secrets);

  /// What an app does when it is started: a new façade, which prefetches what isn't fresh.
  void startAgain();

  /// Takes the server away, or gives it back.
  void setServerReachable(bool reachable) { *reachable_ = reachable; }

  /// The state, with the activity that follows the entry of that number.
  [[nodiscard]] ExplorerState state(std::int64_t afterEntry) const;

  /// The cached object list; empty before the first prefetch has loaded one.
  [[nodiscard]] std::vector<SObject> types() const;

  void presentations(const std::vector<std::string>& names,
                     std::function<void(PresentationAnswer)> completion) const;
  void searchLayout(const std::string& name, std::function<void(SearchLayoutAnswer)> completion) const;
  void compactLayout(const std::string& name, std::function<void(CompactLayoutAnswer)> completion) const;

  /// The icon of an id that a presentation bears.
  void icon(const std::string& id, IconStore::Completion completion) const;

 private:
  [[nodiscard]] RequiredAPI observed(const std::shared_ptr<Tally>& tally) const;
  [[nodiscard]] std::shared_ptr<VelloraService> service() const;

  // Constant after construction.
  const RequiredAPI host_;
  const command::Arguments arguments_;
  const std::shared_ptr<ServerSwitch> reachable_ = std::make_shared<ServerSwitch>(true);
  const std::shared_ptr<Activity> activity_;
  const std::shared_ptr<Tally> serviceTally_ = std::make_shared<Tally>();
  const std::shared_ptr<IconStore> icons_;

  mutable std::mutex mutex_;
  std::shared_ptr<VelloraService> service_;
  AnyCancellable states_;
};

}  // namespace vellora::explore
