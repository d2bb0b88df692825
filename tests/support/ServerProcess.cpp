#include "tests/support/ServerProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace vellora::tests {

ServerProcess::ServerProcess(std::vector<std::string> command) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  const int code =
      ::posix_spawnp(&process_, command.front().c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  if (code != 0) {
    ::close(ends[0]);
    throw std::runtime_error("cannot start " + command.front());
  }
  reader_ = std::thread([this, output = ends[0]] { collect(output); });
}

ServerProcess::~ServerProcess() {
  stop();
}

// All the time, since a process whose output nobody reads stands still.
void ServerProcess::collect(int output) {
  std::array<char, 4096> bytes{};
  for (ssize_t count = 0; (count = ::read(output, bytes.data(), bytes.size())) > 0;) {
    const std::lock_guard lock(mutex_);
    written_.append(bytes.data(), static_cast<std::size_t>(count));
    changed_.notify_all();
  }
  ::close(output);
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

std::string ServerProcess::restOfLine(const std::string& mark) {
  std::unique_lock lock(mutex_);
  std::size_t line = 0;
  while (true) {
    std::size_t end = std::string::npos;
    changed_.wait(lock, [&] { return (end = written_.find('\n', line)) != std::string::npos || ended_; });
    if (end == std::string::npos) throw std::runtime_error("the server did not start");
    if (written_.compare(line, mark.size(), mark) == 0) {
      return written_.substr(line + mark.size(), end - line - mark.size());
    }
    line = end + 1;
  }
}

void ServerProcess::waitUntilWritten(const std::string& text) {
  std::unique_lock lock(mutex_);
  const auto isWritten = [&] { return written_.find(text) != std::string::npos; };
  changed_.wait(lock, [&] { return ended_ || isWritten(); });
  if (!isWritten()) throw std::runtime_error("the server did not start");
}

std::string ServerProcess::stop() {
  if (process_ >= 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(std::exchange(process_, -1), nullptr, 0);
    reader_.join();
  }
  return written_;
}

}  // namespace vellora::tests
