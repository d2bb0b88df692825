#include "tests/support/TlsServer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vellora::tests {

namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

/// Starts `openssl` with its standard output going to `output`.
pid_t startOpenssl(std::vector<std::string> arguments, int output) {
  arguments.insert(arguments.begin(), "openssl");
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = -1;
  const int code = ::posix_spawnp(&process, "openssl", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  require(code == 0, "cannot start openssl");
  return process;
}

std::filesystem::path makeFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "vellora-tls-XXXXXX").string();
  require(::mkdtemp(name.data()) != nullptr, "no temporary folder");
  return name;
}

/// What follows `mark` on its line of the process's output.
std::string readBehind(const std::string& mark, int output) {
  std::string line;
  char byte = 0;
  while (::read(output, &byte, 1) == 1) {
    if (byte != '\n') {
      line += byte;
    } else if (line.starts_with(mark)) {
      return line.substr(mark.size());
    } else {
      line.clear();
    }
  }
  throw std::runtime_error("openssl s_server did not start");
}

}  // namespace

TlsServer::TlsServer(const std::string& subject) : folder_(makeFolder()) {
  const std::string key = (folder_ / "key.pem").string();
  int ends[2];
  require(::pipe2(ends, O_CLOEXEC) == 0, "no pipe");
  const pid_t maker = startOpenssl(
      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", key,
       "-out", certificate(), "-days", "2", "-subj", "/CN=test", "-addext", "subjectAltName=" + subject},
      ends[1]);
  int status = 0;
  ::waitpid(maker, &status, 0);
  require(status == 0, "openssl made no certificate");
  process_ = startOpenssl({"s_server", "-accept", "127.0.0.1:0", "-cert", certificate(), "-key", key, "-www"},
                          ends[1]);
  ::close(ends[1]);
  output_ = ends[0];
  url_ = "https://" + readBehind("ACCEPT ", output_);
}

TlsServer::~TlsServer() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::close(output_);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

}  // namespace vellora::tests
