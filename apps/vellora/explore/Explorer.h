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
#include "apps/vellora/explore/SwitchedNetwork.h"
#include "apps/vellora/explore/TypeHistory.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Host/Network.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"

namespace vellora::explore {

/// Where icons come from.
struct IconSource {
  /// Sends to the records server, without the user's token and on connections of its own: the server chooses
  /// what is asked of this network.
  std::shared_ptr<CorvaneSDK::Network> network;
  std::string key;  ///< begins the ids of icons; nobody can guess it
};

/// Asks a catalogue for the page, on a host whose calls are observed and whose server can be taken away.
///
/// Ownership: shares the host. A question under way keeps the catalogue that it was asked, for its deadline
/// at the longest.
///
/// Threads: every member may be called from any thread. Completions run on the queue of the catalogue's
/// answers; that of an icon may run inside the call.
///
/// Errors: a failed lookup is an answer that says why.
class Explorer {
 public:
  /// `arguments` give server, theme, cache time-out and how long to wait; `secrets` are kept out of what the
  /// page shows. Starts the catalogue's first load.
  Explorer(const RequiredAPI& host, command::Arguments arguments, IconSource icons,
           std::shared_ptr<const hostkit::KnownSecrets> secrets);

  /// What an app does when it is started: a new catalogue, which loads what isn't fresh.
  void startAgain();

  /// Fetches both lists anew, whatever their age, and has layouts fetched anew when they are asked for next.
  void refresh(std::function<void(RefreshAnswer)> completion) const;

  /// Takes the server away, or gives it back.
  void setServerReachable(bool reachable) { *reachable_ = reachable; }

  /// The state, with the activity that follows the entry of that number.
  [[nodiscard]] ExplorerState state(std::int64_t afterEntry) const;

  /// The cached object list; empty before the first load has brought one.
  [[nodiscard]] std::vector<SObject> types() const;

  /// What has changed of the types since they were fetched the time before.
  [[nodiscard]] TypeChanges changes() const { return history_->latest(); }

  /// In another theme than the arguments' where `theme` is not empty.
  void presentations(const std::vector<std::string>& names, const std::string& theme,
                     std::function<void(PresentationAnswer)> completion) const;
  void searchLayout(const std::string& name, std::function<void(SearchLayoutAnswer)> completion) const;
  void compactLayout(const std::string& name, std::function<void(CompactLayoutAnswer)> completion) const;

  /// Which of these types have no search columns or no headline.
  void lackingLayouts(const std::vector<std::string>& names,
                      std::function<void(LackingLayouts)> completion) const;

  /// The icon of an id that a presentation bears.
  void icon(const std::string& id, IconStore::Completion completion) const;

 private:
  template <class T>
  using Ask = Question<T> (Catalog::*)(const Keys& keys, const QuestionOptions& options) const;

  /// Asks the catalogue, and calls `onAnswer` with the answer.
  template <class T>
  void ask(Ask<T> question, const std::vector<std::string>& keys, const QuestionOptions& options,
           std::function<void(const Answer<T>& answer)> onAnswer) const;
  template <class T>
  void askLayout(Ask<T> question, const std::string& name,
                 std::function<void(LayoutAnswer<T>)> completion) const;

  [[nodiscard]] std::shared_ptr<const Catalog> catalog() const;

  // Constant after construction.
  const RequiredAPI host_;
  const command::Arguments arguments_;
  const std::shared_ptr<const hostkit::KnownSecrets> secrets_;
  const std::shared_ptr<ServerSwitch> reachable_ = std::make_shared<ServerSwitch>(true);
  const std::shared_ptr<Activity> activity_;
  const std::shared_ptr<TypeHistory> history_;
  const std::shared_ptr<IconStore> icons_;

  mutable std::mutex mutex_;
  std::shared_ptr<const Catalog> catalog_;
  AnyCancellable readiness_;
};

}  // namespace vellora::explore
