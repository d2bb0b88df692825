#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/ProgressLine.h"
#include "apps/vellora/command/RequestsUnderWay.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/CatalogOptions.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Host/PlatformAPI.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::command {

/// The host as a catalogue takes it.
[[nodiscard]] std::shared_ptr<CorvaneSDK::PlatformAPI> platformOf(const RequiredAPI& api);

/// How catalogues of the command are made. Nothing is sent twice: who sits at a terminal is told at once why
/// the server does not answer, and may ask again.
[[nodiscard]] CatalogOptions catalogOptions(const Arguments& arguments);

/// How the command asks: it waits as long as the arguments say.
[[nodiscard]] QuestionOptions questionOptions(const Arguments& arguments);

/// The catalogue of one run of the command, which asks a question, or one after the other, and ends. So it
/// loads nothing before a question needs it.
///
/// Ownership: shares the host.
///
/// Threads: safe to use from several threads at once.
class CommandCatalog {
 public:
  /// What `--verbose` tells is told without `secrets`, and not at all when there are none to know. A run that
  /// asks several catalogues gives each a name, which stands before what is told of it.
  CommandCatalog(const Arguments& arguments, const RequiredAPI& api,
                 const std::shared_ptr<const hostkit::KnownSecrets>& secrets = {},
                 const std::string& name = {});

  [[nodiscard]] const Catalog* operator->() const noexcept { return &catalog_; }
  [[nodiscard]] const Catalog& operator*() const noexcept { return catalog_; }

  /// The path of the oldest request that has no answer, of a question that has run out of time; no value when
  /// there is none.
  [[nodiscard]] std::optional<std::string> unanswered() const { return requests_->oldest(); }

  /// Asks, and waits for the answer: `ask` is a member of `Catalog`, `words` are what it takes. Where
  /// somebody waits at a terminal, tells what for once that takes a while.
  template <class Ask, class... Words>
  auto answerTo(Ask ask, const Words&... words) const {
    requests_->questionAsked();
    auto answer = [&] {
      // Before the question, so that of equal times the progress comes first and the deadline then.
      const auto progress = progressFor(arguments_, [this] { return whatIsWaitedFor(); });
      return std::invoke(ask, catalog_, words...).get();
    }();
    if (arguments_.output.talk == Talk::verbose)
      requests_->awaitEnd();  // so that all is told before the answer
    return answer;
  }

 private:
  [[nodiscard]] std::string whatIsWaitedFor() const;

  const Arguments arguments_;
  const std::string prefix_;
  const std::shared_ptr<RequestsUnderWay> requests_;
  const Catalog catalog_;
};

}  // namespace vellora::command
