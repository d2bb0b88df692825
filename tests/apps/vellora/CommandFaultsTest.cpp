#include <filesystem>
#include <fstream>

#include "tests/apps/vellora/CommandFixture.h"
#include "tests/support/TokenCanary.h"

// The command's token comes from a file and goes to the server; nobody reads it anywhere else, whatever
// fails.

namespace vellora::command {
namespace {

using testing::IsEmpty;

class CommandFaultsTest : public CommandFixture {
 protected:
  void SetUp() override {
    server = RecordsServer::start(DataSet::builtIn(), {.token = canary.token(), .onRequest = {}}).value();
    std::ofstream(tokenFile) << canary.token() << '\n';
  }

  [[nodiscard]] std::vector<std::string> withToken(std::vector<std::string> words) const {
    words.insert(words.begin(),
                 {"--token-file", tokenFile, "--log", "info", "--log-file", folder.file("log")});
    return withServer(words);
  }

  /// The same for a server at fault, which may never answer.
  [[nodiscard]] std::vector<std::string> impatient(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--wait", "0.5"});
    return withToken(std::move(words));
  }

  /// The command with a key, and such that it ends.
  [[nodiscard]] static std::vector<std::string> wordsOf(const std::string& command) {
    std::vector<std::string> words{command, command == "ids" ? "001a" : "Account"};
    if (command == "watch") words.insert(words.end(), {"--times", "1"});
    return words;
  }

  const tests::TokenCanary canary;
  const tests::TemporaryFolder secrets;
  const std::string tokenFile = secrets.file("token");
};

TEST_F(CommandFaultsTest, TheTokenStandsInNoOutputLogOrCacheWhateverTheServerDoes) {
  const std::vector<std::string> commands = {"ids",  "names", "list", "search-layouts", "compact-layouts",
                                             "watch"};
  for (const auto& fault :
       {Fault(), Fault::fail(500), Fault::fail(401), Fault::errorBody(), Fault::truncate(40), Fault::drop(),
        Fault::never(), Fault::garbage(), Fault::empty()}) {
    server->setFault(RecordsServer::everything, fault);
    for (const auto& command : commands) {
      const auto words = wordsOf(command);
      const auto ended =
          ChildProcess::run(VELLORA, fault == Fault() ? withToken(words) : impatient(words), options);
      const auto when = command + ", fault " + std::to_string(static_cast<int>(fault.kind));
      const bool answered = ended.exitCode == 0;
      EXPECT_TRUE(answered || fault != Fault()) << when << ": the server refuses whoever has no token";
      EXPECT_FALSE(canary.isIn(ended.out)) << when;
      EXPECT_FALSE(canary.isIn(ended.err)) << when;
      EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty()) << when;
    }
    for (const auto& file : std::filesystem::directory_iterator(folder.path())) {
      const auto name = file.path().filename().string();
      if (name.starts_with("cache.sqlite")) std::filesystem::remove(file.path());
    }
  }
  EXPECT_NE(contentOf(folder.file("log")), "");
}

TEST_F(CommandFaultsTest, ATokenThatCannotBeSentIsNotPrinted) {
  std::ofstream(tokenFile) << canary.token() << " with blanks\n";
  const auto ended = ChildProcess::run(VELLORA, withToken({"names", "Account"}), options);
  EXPECT_NE(ended.exitCode, 0);
  EXPECT_FALSE(canary.isIn(ended.out + ended.err)) << ended.err;
  EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty());
}

}  // namespace
}  // namespace vellora::command
