#include "apps/vellora/command/NamedServers.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/apps/vellora/CommandFixture.h"
#include "tests/support/TokenCanary.h"

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// `text` as TOML has it.
std::string quoted(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '"' || character == '\\') escaped += '\\';
    escaped += character;
  }
  return '"' + escaped + '"';
}

/// A user who has given servers names.
class NamedServersTest : public CommandFixture {
 protected:
  void SetUp() override {
    CommandFixture::SetUp();
    std::filesystem::create_directories(folder.path() / "config/vellora");
    options.environment["XDG_CONFIG_HOME"] = folder.file("config");
  }

  void configure(const std::string& text) const {
    writeFile(file, text);
    std::filesystem::permissions(file, std::filesystem::perms(0600));
  }

  [[nodiscard]] std::string serverTable(const std::string& name, const std::string& more = {}) const {
    return "[servers." + name + "]\naddress = \"" + server->url() + "\"\n" + more;
  }

  [[nodiscard]] ChildProcess::Ended vellora(const std::vector<std::string>& words) const {
    return ChildProcess::run(VELLORA, words, options);
  }

  const std::string file = folder.file("config/vellora/config.toml");
};

/// The same, whose servers want a token.
class NamedServersTokenTest : public NamedServersTest {
 protected:
  void SetUp() override {
    NamedServersTest::SetUp();
    server = RecordsServer::start(DataSet::builtIn(), {.token = canary.token(), .onRequest = {}}).value();
    std::ofstream(tokenFile) << canary.token() << '\n';
  }

  [[nodiscard]] std::string commandThatPrintsIt() const {
    return "token_command = [\"cat\", \"" + tokenFile + "\"]\n";
  }

  const tests::TokenCanary canary;
  const tests::TemporaryFolder secrets;
  const std::string tokenFile = secrets.file("token");
};

TEST_F(NamedServersTest, AServerIsAskedByItsName) {
  configure(serverTable("work"));
  const auto named = vellora({"--server", "work", "--json", "names", "Account"});
  EXPECT_EQ(named.exitCode, 0) << named.err;
  EXPECT_EQ(named.out, vellora({"--server", server->url(), "--json", "names", "Account"}).out);
  options.environment["VELLORA_SERVER"] = "work";
  EXPECT_EQ(vellora({"--json", "names", "Account"}).out, named.out);
}

TEST_F(NamedServersTest, WithoutAServerTheConfigurationsOwnIsAsked) {
  configure("server = \"work\"\n" + serverTable("work"));
  EXPECT_EQ(vellora({"names", "Account"}).exitCode, 0);
  configure("server = \"" + server->url() + "\"\n");
  EXPECT_EQ(vellora({"names", "Account"}).exitCode, 0);
  configure("");
  EXPECT_THAT(vellora({"names", "Account"}).err, StartsWith("vellora: no server: give --server URL"));
}

TEST_F(NamedServersTest, ItsThemeCountsUnlessAnotherIsGiven) {
  configure(serverTable("work", "theme = \"dark\"\n"));
  EXPECT_THAT(vellora({"--server", "work", "--json", "names", "Account"}).out,
              HasSubstr(R"("color":"8FB4F5")"));
  options.environment["VELLORA_THEME"] = "contrast";
  EXPECT_THAT(vellora({"--server", "work", "--json", "names", "Account"}).out,
              HasSubstr(R"("color":"0000FF")"));
  EXPECT_THAT(vellora({"--server", "work", "--theme", "light", "--json", "names", "Account"}).out,
              HasSubstr(R"("color":"2F6FDE")"));
}

TEST_F(NamedServersTest, ANameThatNobodyHasIsToldWithThoseThereAre) {
  configure(serverTable("work") + serverTable("test"));
  const auto ended = vellora({"--server", "wrok", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: there is no server wrok in " + file + ", but test, work\n");
  std::filesystem::remove(file);
  EXPECT_EQ(
      vellora({"--server", "work", "names", "Account"}).err,
      "vellora: there is no server work: give its address, such as https://records.example, or name it in " +
          file + "\n");
}

TEST_F(NamedServersTest, AMistakeInTheFileIsToldWithItsLine) {
  configure(serverTable("work", "colour = \"red\"\n"));
  const auto ended = vellora({"--server", "work", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, StartsWith("vellora: " + file + ":3:10: a server has no \"colour\""));
}

TEST_F(NamedServersTest, WhoGivesAnAddressDoesNotNeedTheFile) {
  configure("this is no TOML");
  EXPECT_EQ(vellora({"--server", server->url(), "names", "Account"}).exitCode, 0);
  EXPECT_EQ(vellora({"--cache", cacheFile, "cache", "ls"}).exitCode, 7) << "the cache file is not there";
  EXPECT_EQ(vellora({"names", "Account"}).exitCode, 2);
}

TEST_F(NamedServersTest, AFileThatOthersMayWriteIsTold) {
  configure(serverTable("work"));
  std::filesystem::permissions(file, std::filesystem::perms(0666));
  const auto ended = vellora({"--server", "work", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_EQ(ended.err, "vellora: others may write " + file + ": make the file your own, and chmod go-w it\n");
}

TEST_F(NamedServersTokenTest, TheTokenComesFromAFileOrFromAProgram) {
  configure(serverTable("filed", "token_file = \"" + tokenFile + "\"\n") +
            serverTable("printed", commandThatPrintsIt()) + serverTable("none"));
  for (const std::string name : {"filed", "printed"}) {
    const auto ended = vellora({"--server", name, "names", "Account"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_FALSE(canary.isIn(ended.out + ended.err));
  }
  EXPECT_EQ(vellora({"--server", "none", "names", "Account"}).exitCode, 5);
  EXPECT_EQ(vellora({"--server", "none", "--token-file", tokenFile, "names", "Account"}).exitCode, 0);
  EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty());
}

TEST_F(NamedServersTokenTest, EachNameHasADefaultCacheOfItsOwnWhichARenewedTokenFinds) {
  configure(serverTable("filed", "token_file = \"" + tokenFile + "\"\n") +
            serverTable("printed", commandThatPrintsIt()));
  ASSERT_EQ(vellora({"--server", "filed", "names", "Account"}).exitCode, 0);
  EXPECT_EQ(vellora({"--server", "printed", "cache", "ls"}).exitCode, 7);
  std::ofstream(tokenFile) << "renewed";
  server->clearRequests();
  EXPECT_EQ(vellora({"--server", "filed", "names", "Account"}).exitCode, 0);
  EXPECT_THAT(server->requests(), IsEmpty());
  const auto listed = vellora({"--server", "filed", "cache", "ls", "--names"});
  EXPECT_EQ(listed.exitCode, 0) << listed.err;
  EXPECT_THAT(listed.out, HasSubstr("type/Account\n"));
}

TEST_F(NamedServersTokenTest, TheCacheAloneIsAskedWithoutRunningTheTokenCommand) {
  configure(serverTable("work", commandThatPrintsIt()));
  ASSERT_EQ(vellora({"--server", "work", "names", "Account"}).exitCode, 0);
  configure(serverTable("work", "token_command = [\"false\"]\n"));
  for (const std::vector<std::string>& words : {std::vector<std::string>{"--offline", "names", "Account"},
                                                {"--offline", "status"},
                                                {"cache", "ls"},
                                                {"diff", "cache:work", "cache:work"}}) {
    auto named = words;
    if (named[0] != "diff") named.insert(named.begin(), {"--server", "work"});
    const auto ended = vellora(named);
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
  }
  EXPECT_EQ(vellora({"--server", "work", "names", "Account"}).exitCode, 2) << "the server needs its token";
}

TEST_F(NamedServersTokenTest, AnOptionOrAVariableReplacesTheTokenCommand) {
  configure(serverTable("work", "token_command = [\"false\"]\n"));
  EXPECT_EQ(vellora({"--server", "work", "--token-file", tokenFile, "names", "Account"}).exitCode, 0);
  options.environment["VELLORA_TOKEN_FILE"] = tokenFile;
  EXPECT_EQ(vellora({"--server", "work", "names", "Account"}).exitCode, 0);
}

TEST_F(NamedServersTokenTest, ATokenCommandThatFailsIsToldByItsPlace) {
  configure(
      serverTable("work", "token_command = [\"sh\", \"-c\", \"exit 7\", " + quoted(canary.token()) + "]\n"));
  const auto failed = vellora({"--server", "work", "names", "Account"});
  EXPECT_EQ(failed.exitCode, 2);
  EXPECT_EQ(failed.err, "vellora: the token command that " + file + ":3 names ended with exit code 7\n");
  configure(serverTable("work", "token_command = [\"tail\", \"-f\", \"/dev/null\"]\n"));
  const auto endless = vellora({"--server", "work", "--wait", "0.2", "names", "Account"});
  EXPECT_EQ(endless.err, "vellora: the token command that " + file + ":3 names did not end within 0.2 s\n");
}

TEST_F(NamedServersTokenTest, ATokenThatStandsWhereAFileIsWantedIsNotRepeated) {
  configure(serverTable("work", "token_file = " + quoted(canary.token()) + "\n"));
  const auto ended = vellora({"--server", "work", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: cannot read the token file that " + file + ":3 names\n");
}

TEST_F(NamedServersTokenTest, ATokenCommandThatOthersMayWriteIsNotRun) {
  configure(serverTable("work", "token_command = [\"touch\", \"" + folder.file("ran") + "\"]\n"));
  std::filesystem::permissions(file, std::filesystem::perms(0620));
  const auto ended = vellora({"--server", "work", "names", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err,
            "vellora: its group may write " + file +
                ", so the token command in it is not run: make the file your own, and chmod go-w it\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("ran")));
}

TEST_F(NamedServersTokenTest, KeysOnStandardInputAreNotReadByTheTokenCommand) {
  configure(serverTable("work", "token_command = [\"sh\", \"-c\", \"cat >&2; cat '" + tokenFile + "'\"]\n"));
  options.input = "Account\n";
  const auto ended = vellora({"--server", "work", "names", "-"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.out, HasSubstr("Account"));
  EXPECT_THAT(ended.err, Not(HasSubstr("Account")));
}

}  // namespace
}  // namespace vellora::command
