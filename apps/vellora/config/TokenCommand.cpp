#include "apps/vellora/config/TokenCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

extern char** environ;  // NOLINT(readability-redundant-declaration): glibc alone declares it

namespace vellora::command {

namespace {

using Clock = std::chrono::steady_clock;

/// Both ends of a pipe, which no other program inherits.
struct Pipe {
  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    reading = ends[0];
    writing = ends[1];
  }
  ~Pipe() {
    closeWriting();
    if (reading >= 0) ::close(reading);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void closeWriting() {
    if (writing >= 0) ::close(writing);
    writing = -1;
  }

  int reading = -1;
  int writing = -1;
};

/// How the program is started: with an empty input, its output into `pipe`, and signals as a shell sets them.
class Start {
 public:
  explicit Start(const Pipe& pipe) {
    ::posix_spawn_file_actions_init(&files_);
    ::posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&files_, pipe.writing, STDOUT_FILENO);
    sigset_t defaults;
    ::sigemptyset(&defaults);
    ::sigaddset(&defaults, SIGPIPE);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setsigdefault(&attributes_, &defaults);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
  }
  ~Start() {
    ::posix_spawn_file_actions_destroy(&files_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  Start(const Start&) = delete;
  Start& operator=(const Start&) = delete;

  /// 0, or the `errno` of what went wrong.
  [[nodiscard]] int operator()(pid_t& process, std::vector<std::string> words) const {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    return ::posix_spawnp(&process, arguments[0], &files_, &attributes_, arguments.data(), environ);
  }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

constexpr int turn = 5;  // milliseconds, between two looks at the program

/// A program that runs, and is killed if it still does in the end.
class Running {
 public:
  explicit Running(pid_t process) : process_(process) {}
  ~Running() {
    if (status_) return;
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  /// How it ended; no value while it runs.
  [[nodiscard]] std::optional<int> status() {
    int how = 0;
    if (!status_ && ::waitpid(process_, &how, WNOHANG) == process_) status_ = how;
    return status_;
  }

  /// The same; no value when it had not ended by then.
  [[nodiscard]] std::optional<int> waitUntil(Clock::time_point end) {
    while (!status() && Clock::now() < end) ::poll(nullptr, 0, turn);
    return status_;
  }

 private:
  const pid_t process_;
  std::optional<int> status_;
};

/// What comes out of the pipe until it is closed or the program has ended, whose children may keep it open;
/// up to one byte more than `most`. No value when neither was so by then.
std::optional<std::string> readUntil(Clock::time_point end, int descriptor, std::size_t most,
                                     Running& running) {
  std::string text;
  char bytes[4096];
  while (text.size() <= most) {
    const bool hasEnded = running.status().has_value();  // so all that it wrote is in the pipe
    pollfd waiting{descriptor, POLLIN, 0};
    const int ready = ::poll(&waiting, 1, hasEnded ? 0 : turn);
    if (ready <= 0 && hasEnded) break;
    if (ready <= 0 && Clock::now() >= end) return std::nullopt;
    if (ready <= 0) continue;
    const auto count = ::read(descriptor, bytes, std::min(sizeof bytes, most + 1 - text.size()));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    text.append(bytes, static_cast<std::size_t>(count));
  }
  return text;
}

std::string secondsText(std::chrono::duration<double> time) {
  char text[32];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%g s", time.count()))};
}

std::optional<std::string> complaintAbout(int status) {
  if (WIFSIGNALED(status)) return "was ended by a signal: " + std::string(::strsignal(WTERMSIG(status)));
  if (WEXITSTATUS(status) != 0) return "ended with exit code " + std::to_string(WEXITSTATUS(status));
  return std::nullopt;
}

std::optional<std::string> complaintAbout(const std::string& token, std::size_t longest) {
  if (token.empty()) return "printed nothing";
  if (token.size() > longest) return "printed more than " + std::to_string(longest) + " characters";
  if (token.find('\n') != std::string::npos) return "printed more than one line";
  return std::nullopt;
}

Clock::time_point endOf(std::chrono::duration<double> atMost) {
  constexpr double longest = 366.0 * 24 * 3600;
  const double seconds = std::isfinite(atMost.count()) ? std::min(atMost.count(), longest) : longest;
  return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace

std::variant<std::string, TokenCommandFailure> tokenPrintedBy(const std::vector<std::string>& words,
                                                              std::chrono::duration<double> atMost,
                                                              std::size_t longest) {
  const auto end = endOf(atMost);
  Pipe pipe;
  pid_t process = -1;
  const int failure = pipe.reading < 0 ? errno : Start(pipe)(process, words);
  if (failure != 0) return TokenCommandFailure{std::string("cannot be run: ") + std::strerror(failure)};
  pipe.closeWriting();
  Running running(process);
  constexpr std::size_t lineEnd = 2;
  auto token = readUntil(end, pipe.reading, longest + lineEnd, running);
  const bool isCut = token && token->size() > longest + lineEnd;
  const auto status = token && !isCut ? running.waitUntil(end) : std::nullopt;
  if (!status && !isCut) return TokenCommandFailure{"did not end within " + secondsText(atMost)};
  if (const auto complaint = status ? complaintAbout(*status) : std::nullopt)
    return TokenCommandFailure{*complaint};
  while (token->ends_with('\n') || token->ends_with('\r')) token->pop_back();
  if (const auto complaint = complaintAbout(*token, longest)) return TokenCommandFailure{*complaint};
  return *std::move(token);
}

}  // namespace vellora::command
