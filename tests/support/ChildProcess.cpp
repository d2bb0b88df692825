#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <utility>

namespace vellora::tests {

namespace {

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    reading = ends[0];
    writing = ends[1];
  }

  int reading;
  int writing;
};

void readAll(int from, std::string& into) {
  std::array<char, 4096> bytes{};
  for (ssize_t count = 0; (count = ::read(from, bytes.data(), bytes.size())) > 0;) {
    into.append(bytes.data(), static_cast<std::size_t>(count));
  }
  ::close(from);
}

// The program may end without reading all of its input; the test program must not die of that.
void writeAll(int into, std::string text) {
  sigset_t brokenPipe;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
  while (!text.empty()) {
    const ssize_t count = ::write(into, text.data(), text.size());
    if (count <= 0) break;
    text.erase(0, static_cast<std::size_t>(count));
  }
  ::close(into);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> environmentOf(const ChildProcess::Options& options) {
  const char* path = std::getenv("PATH");
  std::vector<std::string> environment{std::string("PATH=") + (path ? path : "/usr/bin:/bin")};
  for (const auto& [name, value] : options.environment) environment.push_back(name + "=" + value);
  return environment;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const Options& options) {
  const Pipe in;
  const Pipe out;
  const Pipe err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.reading, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out.writing, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.writing, STDERR_FILENO);
  std::vector<std::string> argumentTexts{program};
  argumentTexts.insert(argumentTexts.end(), arguments.begin(), arguments.end());
  auto environmentTexts = environmentOf(options);
  const int failure = ::posix_spawn(&process_, program.c_str(), &actions, nullptr,
                                    pointersTo(argumentTexts).data(), pointersTo(environmentTexts).data());
  posix_spawn_file_actions_destroy(&actions);
  for (const int ours : {in.reading, out.writing, err.writing}) ::close(ours);
  if (failure != 0) std::abort();
  pipes_.emplace_back(writeAll, in.writing, options.input);
  pipes_.emplace_back([this, from = out.reading] { readAll(from, ended_.out); });
  pipes_.emplace_back([this, from = err.reading] { readAll(from, ended_.err); });
}

ChildProcess::~ChildProcess() {
  if (process_ < 0) return;
  sendSignal(SIGKILL);
  [[maybe_unused]] const auto ended = wait();
}

void ChildProcess::sendSignal(int signal) const {
  ::kill(process_, signal);
}

ChildProcess::Ended ChildProcess::wait() {
  for (auto& pipe : pipes_) pipe.join();
  int status = 0;
  ::waitpid(std::exchange(process_, -1), &status, 0);
  if (WIFEXITED(status)) ended_.exitCode = WEXITSTATUS(status);
  return ended_;
}

ChildProcess::Ended ChildProcess::run(const std::string& program, const std::vector<std::string>& arguments,
                                      const Options& options) {
  return ChildProcess(program, arguments, options).wait();
}

}  // namespace vellora::tests
