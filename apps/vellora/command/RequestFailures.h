#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "hostkit/network/RequestOutcome.h"
#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::command {

/// Remembers the first thing that went wrong with a request: no answer, or one that the library could not
/// use.
///
/// Threads: synchronises itself.
class RequestFailures {
 public:
  /// `secrets` are what was sent: lines about answers quote the server, so they are cleaned of these.
  explicit RequestFailures(
      std::shared_ptr<const hostkit::KnownSecrets> secrets = std::make_shared<hostkit::KnownSecrets>());

  /// Takes in how a request ended.
  void note(const hostkit::RequestOutcome& outcome);

  /// Takes in the library's log line about an answer that it cannot use, and blames the latest answer: the
  /// library reads one on the thread that brings it, before the network tells of the next. An answer that
  /// came before the library waited for it is read on another thread; then a later one may be blamed.
  void note(std::string_view errorLine);

  /// What failed first, and why; no value when nothing did.
  [[nodiscard]] std::optional<std::string> first() const;

 private:
  [[nodiscard]] std::string latestAnswer() const;
  void noteFirst(std::string what);

  const std::shared_ptr<const hostkit::KnownSecrets> secrets_;
  mutable std::mutex mutex_;
  std::optional<std::string> first_;
  std::string latestAnswer_;
};

}  // namespace vellora::command
