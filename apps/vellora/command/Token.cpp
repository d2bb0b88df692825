#include "apps/vellora/command/Token.h"

#include <chrono>
#include <utility>

#include "apps/vellora/command/TokenFile.h"
#include "apps/vellora/config/TokenCommand.h"
#include "hostkit/network/CurlNetwork.h"

namespace vellora::command {

std::variant<std::optional<std::string>, Problem> tokenOf(const Arguments& arguments) {
  if (arguments.tokenCommand.empty()) {
    if (arguments.tokenPlace.empty()) return readToken(arguments.tokenFile);
    return readToken(arguments.tokenFile, "the token file that " + arguments.tokenPlace + " names");
  }
  auto printed = tokenPrintedBy(arguments.tokenCommand, std::chrono::duration<double>(arguments.wait),
                                hostkit::CurlNetwork::longestToken);
  if (const auto* failure = std::get_if<TokenCommandFailure>(&printed)) {
    return Problem{ExitCode::usage,
                   "the token command that " + arguments.tokenPlace + " names " + failure->reason};
  }
  return std::optional(std::get<std::string>(std::move(printed)));
}

}  // namespace vellora::command
