#include "apps/vellora/command/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include "tests/apps/vellora/CommandFixture.h"

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::Not;

/// The command as a shell starts it that closes descriptors.
class StandardDescriptorsTest : public CommandFixture {
 protected:
  ChildProcess::Ended runWith(const std::string& redirections,
                              const std::vector<std::string>& arguments) const {
    std::vector<std::string> words{"-c", "exec \"$0\" \"$@\" " + redirections, VELLORA};
    for (const auto& word : withServer(arguments)) words.push_back(word);
    return ChildProcess::run("/bin/sh", words, options);
  }
};

TEST_F(StandardDescriptorsTest, WithoutStandardOutputItFailsAndSaysSo) {
  const auto ended = runWith(">&-", {"names", "Account"});
  EXPECT_EQ(ended.exitCode, 1);
  EXPECT_EQ(ended.err, "vellora: cannot write to standard output\n");
}

TEST_F(StandardDescriptorsTest, NoFileTakesThePlaceOfStandardOutputOrError) {
  const std::string log = folder.file("log");
  EXPECT_EQ(runWith(">&- 2>&-", {"--log", "info", "--log-file", log, "names", "Account"}).exitCode, 1);
  EXPECT_THAT(contentOf(log), Not(HasSubstr("LABEL")));
  EXPECT_THAT(contentOf(log), Not(HasSubstr("vellora:")));
  EXPECT_EQ(run({"cache", "verify"}).exitCode, 0);
}

TEST_F(StandardDescriptorsTest, WithoutStandardInputThereAreNoKeysToRead) {
  const auto ended = runWith("<&-", {"names", "-"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: cannot read standard input\n");
}

TEST_F(StandardDescriptorsTest, WithoutStandardErrorItAnswersAllTheSame) {
  const auto ended = runWith("2>&-", {"names", "Account", "Nonsense"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_THAT(ended.out, HasSubstr("Account  Account   001 "));
}

TEST(OpenStandardDescriptorsTest, LeavesOpenOnesAlone) {
  const int before = ::fcntl(STDOUT_FILENO, F_GETFL);
  EXPECT_TRUE(openStandardDescriptors());
  EXPECT_EQ(::fcntl(STDOUT_FILENO, F_GETFL), before);
}

}  // namespace
}  // namespace vellora::command
