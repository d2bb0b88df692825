#include "apps/vellora/completion/CompletionCommand.h"

#include "apps/vellora/command/Output.h"
#include "apps/vellora/completion/Completions.h"

namespace vellora::command {

ExitCode printCompletion(const Arguments& arguments) {
  const auto text = completionFor(arguments.shell);
  if (!text)
    return complain({ExitCode::usage, "there is no completion for " + keyText(arguments.shell) +
                                          ", but for bash, zsh and fish"});
  return printText(*text);
}

}  // namespace vellora::command
