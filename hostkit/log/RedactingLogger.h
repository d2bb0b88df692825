#pragma once

#include <memory>
#include <string_view>

#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// A `Logger` that passes each line on without the tokens in it. The library's lines quote names that the
/// server sent, and a server may send a token back as a name.
///
///     const auto secrets = std::make_shared<hostkit::KnownSecrets>();
///     // … as `secrets` of the CurlNetwork's options …
///     const auto logger = std::make_shared<hostkit::RedactingLogger>(secrets, myLogger);
///
/// Ownership: shares what it is given.
///
/// Threads: as safe as the other logger.
///
/// Errors: a line for which there is no memory is dropped.
class VELLORA_EXPORT RedactingLogger final : public CorvaneSDK::Logger {
 public:
  /// Neither may be null.
  RedactingLogger(std::shared_ptr<const KnownSecrets> secrets, std::shared_ptr<CorvaneSDK::Logger> next);

  /// Passes on what `KnownSecrets::cleaned` makes of `message`.
  void log(std::string_view message, CorvaneSDK::LogLevel level) override;

 private:
  const std::shared_ptr<const KnownSecrets> secrets_;
  const std::shared_ptr<CorvaneSDK::Logger> next_;
};

}  // namespace vellora::hostkit
