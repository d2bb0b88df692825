#include "apps/vellora/completion/CompletionCommand.h"

#include <optional>
#include <string>

#include "apps/vellora/completion/Completions.h"
#include "tests/apps/vellora/CommandFixture.h"

namespace vellora::command {
namespace {

class CompletionCommandTest : public CommandFixture {
 protected:
  [[nodiscard]] ChildProcess::Ended completion(const std::string& shell) const {
    return ChildProcess::run(VELLORA, {"completion", shell}, options);
  }
};

TEST_F(CompletionCommandTest, PrintsWhatIsInstalledForEachShell) {
  const std::string installed = COMPLETIONS;
  EXPECT_EQ(completion("bash").out, contentOf(installed + "/vellora"));
  EXPECT_EQ(completion("zsh").out, contentOf(installed + "/_vellora"));
  EXPECT_EQ(completion("fish").out, contentOf(installed + "/vellora.fish"));
  EXPECT_EQ(completion("fish").exitCode, 0);
}

TEST_F(CompletionCommandTest, BashCompletesAfterSourcingItWithoutAnythingElse) {
  const auto ended = ChildProcess::run("/bin/bash",
                                       {"--norc", "-c",
                                        "source <(\"$0\" completion bash); "
                                        "COMP_LINE='vellora --server http://h sear' COMP_POINT=30; "
                                        "_vellora; echo \"${COMPREPLY[*]}\"",
                                        VELLORA},
                                       options);
  EXPECT_EQ(ended.out, "search-layouts\n");
  EXPECT_EQ(ended.err, "");
}

TEST_F(CompletionCommandTest, AnyOtherShellIsToldWhichThereAre) {
  const auto ended = completion("powershell");
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: there is no completion for powershell, but for bash, zsh and fish\n");
  EXPECT_EQ(completionFor("powershell"), std::nullopt);
}

}  // namespace
}  // namespace vellora::command
