#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "apps/vellora/command/Arguments.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Progress.h"
#include "apps/vellora/command/RequestsUnderWay.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/CatalogOptions.h"
#include "vellora/Catalog/Question.h"
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

/// The catalogue of one run of the command, which asks a question and ends. So it loads nothing before the
/// question needs it.
///
/// Ownership: shares the host.
///
/// Threads: safe to use from several threads at once.
class CommandCatalog {
 public:
  /// The cleaning is of what `--verbose` tells.
  CommandCatalog(const Arguments& arguments, const RequiredAPI& api,
                 const std::shared_ptr<const hostkit::KnownSecrets>& secrets = {});

  [[nodiscard]] const Catalog* operator->() const noexcept { return &catalog_; }
  [[nodiscard]] const Catalog& operator*() const noexcept { return catalog_; }

  /// The path of the oldest request that has no answer, of a question that has run out of time; no value when
  /// there is none.
  [[nodiscard]] std::optional<std::string> unanswered() const { return requests_->oldest(); }

  /// Waits for the answer. Where somebody waits at a terminal, tells what for once that takes a while.
  template <class T>
  [[nodiscard]] Answer<T> answerTo(Question<T> question) const {
    const auto progress = progressOf();
    auto answer = std::move(question).get();
    if (talk_ == Talk::verbose) requests_->awaitEnd();  // so that all is told before the answer
    return answer;
  }

 private:
  [[nodiscard]] std::unique_ptr<Progress> progressOf() const;

  const Talk talk_;
  const bool logsToError_;
  const std::shared_ptr<RequestsUnderWay> requests_;
  const Catalog catalog_;
};

}  // namespace vellora::command
