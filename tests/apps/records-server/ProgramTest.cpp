#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/HttpClient.h"

namespace vellora::recordsserver {
namespace {

using test::HttpClient;
using test::httpGet;

const std::string themes = "/services/data/v50.0/theme";
const std::string promise = "Listening on http://127.0.0.1:";

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    in = ends[1];
    out = ends[0];
  }
  ~Pipe() {
    closeIn();
    closeOut();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void closeIn() {
    if (in >= 0) ::close(std::exchange(in, -1));
  }

  void closeOut() {
    if (out >= 0) ::close(std::exchange(out, -1));
  }

  [[nodiscard]] std::string line() const {
    std::string text;
    for (char c = 0; ::read(out, &c, 1) == 1 && c != '\n';) text += c;
    return text;
  }

  [[nodiscard]] std::string rest() const {
    std::string text;
    std::array<char, 4096> bytes{};
    for (ssize_t count = 0; (count = ::read(out, bytes.data(), bytes.size())) > 0;)
      text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
  }

  int in = -1;
  int out = -1;
};

/// The program, run with arguments of the test's choice.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), RECORDS_SERVER);
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.out, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output.in, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors.in, STDERR_FILENO);
    EXPECT_EQ(::posix_spawn(&process_, RECORDS_SERVER, &actions, nullptr, argv.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    output.closeIn();
    errors.closeIn();
  }

  ~Program() {
    if (process_ > 0) (void)::kill(process_, SIGKILL);
    (void)exitCode();
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// The port of the address line, which is waited for.
  [[nodiscard]] std::uint16_t port() const {
    const auto line = output.line();
    EXPECT_TRUE(line.starts_with(promise)) << line;
    return static_cast<std::uint16_t>(std::atoi(line.substr(promise.size()).c_str()));
  }

  void signal(int number) const { ::kill(process_, number); }

  /// Waits for the program's end; -1 when it was killed.
  int exitCode() {
    if (process_ <= 0) return -1;
    int status = 0;
    ::waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  Pipe input;
  Pipe output;
  Pipe errors;

 private:
  pid_t process_ = -1;
};

class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& name)
      : path(std::filesystem::temp_directory_path() /
             ("records-server-" + std::to_string(::getpid()) + name)) {}
  ~TemporaryFile() { std::filesystem::remove(path); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] std::string text() const {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  const std::filesystem::path path;
};

TEST(ProgramTest, PrintsItsAddressAndServesUntilItIsTerminated) {
  for (const int number : {SIGTERM, SIGINT}) {
    Program program({});
    const auto port = program.port();
    EXPECT_EQ(httpGet(port, themes).status, 200);
    program.signal(number);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(program.output.rest(), "");
    EXPECT_EQ(program.errors.rest(), "GET " + themes + "\n");
  }
}

TEST(ProgramTest, StopsWhenStandardInputIsClosed) {
  Program program({"--exit-with-stdin"});
  EXPECT_EQ(httpGet(program.port(), themes).status, 200);
  program.input.closeIn();
  EXPECT_EQ(program.exitCode(), 0);
}

TEST(ProgramTest, DoesNotMindTextOnStandardInput) {
  Program program({"--exit-with-stdin"});
  const auto port = program.port();
  ASSERT_EQ(::write(program.input.in, "hello\n", 6), 6);
  EXPECT_EQ(httpGet(port, themes).status, 200);
  program.input.closeIn();
  EXPECT_EQ(program.exitCode(), 0);
}

TEST(ProgramTest, ServesAGeneratedDataSet) {
  Program program({"--types", "3"});
  const auto body = httpGet(program.port(), "/services/data/v50.0/sobjects").body;
  EXPECT_NE(body.find("\"name\":\"Record00002\""), std::string::npos);
  EXPECT_EQ(body.find("Account"), std::string::npos);
}

TEST(ProgramTest, ServesAFolder) {
  Program program({"--data", RECORDS_SERVER_DATA});
  EXPECT_EQ(httpGet(program.port(), "/services/data/v50.0/search/layout?q=Tag").body,
            R"([{"objectType":"Tag","label":"Tag","maxRows":25,"searchColumns":[]}])");
}

TEST(ProgramTest, WritesItsPortAndItsLogToFiles) {
  const TemporaryFile portFile("port");
  const TemporaryFile logFile("log");
  Program program({"--port-file", portFile.path, "--log-file", logFile.path});
  const auto port = program.port();
  EXPECT_EQ(portFile.text(), std::to_string(port) + "\n");
  EXPECT_EQ(httpGet(port, themes).status, 200);
  EXPECT_EQ(logFile.text(), "GET " + themes + "\n");
  program.signal(SIGTERM);
  EXPECT_EQ(program.exitCode(), 0);
  EXPECT_EQ(program.errors.rest(), "");
}

TEST(ProgramTest, OutlivesTheReaderOfItsLog) {
  Program program({});
  const auto port = program.port();
  program.errors.closeOut();
  EXPECT_EQ(httpGet(port, themes).status, 200);
  EXPECT_EQ(httpGet(port, themes).status, 200);
  program.signal(SIGTERM);
  EXPECT_EQ(program.exitCode(), 0);
}

TEST(ProgramTest, WantsTheTokenOfAFileAndPrintsItNowhere) {
  const TemporaryFile tokenFile("token");
  std::ofstream(tokenFile.path) << "secret\n";
  Program program({"--token-file", tokenFile.path});
  const auto port = program.port();
  EXPECT_EQ(httpGet(port, themes).status, 401);
  EXPECT_EQ(httpGet(port, themes, "Authorization: Bearer secret\r\n").status, 200);
  program.signal(SIGTERM);
  EXPECT_EQ(program.exitCode(), 0);
  EXPECT_EQ(program.errors.rest().find("secret"), std::string::npos);
}

TEST(ProgramTest, MisbehavesWhenTold) {
  EXPECT_EQ(httpGet(Program({"--fail", "503", "--delay", "1"}).port(), themes).status, 503);
  EXPECT_EQ(httpGet(Program({"--truncate", "7"}).port(), themes).body, "{\"theme");
  EXPECT_EQ(httpGet(Program({"--drop"}).port(), themes).status, 0);
  EXPECT_TRUE(httpGet(Program({"--garbage"}).port(), themes).body.starts_with("{\"sobjects\": [\xff"));
}

TEST(ProgramTest, AnswersConditionalRequestsWronglyWhenTold) {
  EXPECT_EQ(httpGet(Program({"--wrong-tags", "unasked"}).port(), themes).status, 304);
  EXPECT_EQ(httpGet(Program({"--wrong-tags", "other"}).port(), themes).headers.at("etag"),
            "\"of another body\"");
  EXPECT_EQ(httpGet(Program({"--wrong-tags", "frozen"}).port(), themes).headers.at("etag"), "\"frozen\"");
}

TEST(ProgramTest, PacksBodiesWhenTold) {
  const Program packing({"--gzip"});
  EXPECT_EQ(httpGet(packing.port(), themes, "Accept-Encoding: gzip\r\n").headers.at("content-encoding"),
            "gzip");
  const Program plain({});
  EXPECT_FALSE(
      httpGet(plain.port(), themes, "Accept-Encoding: gzip\r\n").headers.contains("content-encoding"));
}

TEST(ProgramTest, ExplainsItself) {
  Program program({"--help"});
  const auto help = program.output.rest();
  EXPECT_EQ(program.exitCode(), 0);
  for (const auto* option :
       {"--port", "--port-file", "--token-file", "--log-file", "--exit-with-stdin", "--data", "--types",
        "--delay", "--fail", "--truncate", "--drop", "--garbage", "--gzip", "--wrong-tags"})
    EXPECT_NE(help.find(option), std::string::npos) << option;
  EXPECT_EQ(program.errors.rest(), "");
}

TEST(ProgramTest, TellsOfWrongUsage) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"--nope"},
                                                                     {"--port", "70000"},
                                                                     {"--types", "x"},
                                                                     {"--types", "3", "--data", "."},
                                                                     {"--fail", "200"},
                                                                     {"--drop", "--garbage"},
                                                                     {"--wrong-tags", "unknown"},
                                                                     {"--drop", "--wrong-tags", "frozen"},
                                                                     {"extra"}}) {
    Program program(arguments);
    EXPECT_EQ(program.exitCode(), 2) << arguments[0];
    const auto message = program.errors.rest();
    EXPECT_TRUE(message.starts_with("records-server: ")) << message;
    EXPECT_EQ(message.find('\n'), message.size() - 1) << message;
    EXPECT_EQ(program.output.rest(), "");
  }
}

TEST(ProgramTest, TellsWhyItCannotStart) {
  Program data({"--data", "/nonexistent"});
  EXPECT_EQ(data.exitCode(), 1);
  EXPECT_EQ(data.errors.rest(), "records-server: cannot read /nonexistent/objects.json\n");
  Program token({"--token-file", "/nonexistent"});
  EXPECT_EQ(token.exitCode(), 1);
  EXPECT_EQ(token.errors.rest(), "records-server: cannot read /nonexistent\n");
  Program folderAsToken({"--token-file", "/"});
  EXPECT_EQ(folderAsToken.exitCode(), 1);
  EXPECT_EQ(folderAsToken.errors.rest(), "records-server: cannot read /\n");
  Program noToken({"--token-file", "/dev/null"});
  EXPECT_EQ(noToken.exitCode(), 1);
  EXPECT_EQ(noToken.errors.rest(), "records-server: there is no token in /dev/null\n");
  Program log({"--log-file", "/nonexistent/log"});
  EXPECT_EQ(log.exitCode(), 1);
  EXPECT_EQ(log.errors.rest(), "records-server: cannot write /nonexistent/log\n");
  Program portFile({"--port-file", "/nonexistent/port"});
  EXPECT_EQ(portFile.exitCode(), 1);
  EXPECT_EQ(portFile.errors.rest(), "records-server: cannot write /nonexistent/port\n");
}

TEST(ProgramTest, TellsOfAPortThatIsTaken) {
  const Program first({});
  const auto port = std::to_string(first.port());
  Program second({"--port", port});
  EXPECT_EQ(second.exitCode(), 1);
  EXPECT_EQ(second.errors.rest(),
            "records-server: cannot listen on 127.0.0.1:" + port + ": Address already in use\n");
}

}  // namespace
}  // namespace vellora::recordsserver
