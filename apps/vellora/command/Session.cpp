#include "apps/vellora/command/Session.h"

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <iostream>
#include <mutex>
#include <utility>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"

namespace vellora::command {

using CorvaneSDK::LogLevel;

/// Remembers the first thing that went wrong with a request: no answer, or one that the library could not
/// use.
class Session::Failures {
 public:
  void note(const hostkit::RequestOutcome& outcome) {
    if (outcome.error) noteFirst(outcome.error->text);
    const std::lock_guard lock(mutex_);
    latestAnswer_ = "the answer of the server to " + outcome.path + " (status " +
                    std::to_string(outcome.statusCode) + ")";
  }

  /// The latest answer is to blame: the library reads one on the thread that brings it, before the network
  /// tells of the next. Only one that came before the library waited for it is read on another thread, and
  /// another may have come since.
  void note(std::string_view errorLine) {
    const std::string answer = latestAnswer();
    if (!answer.empty()) noteFirst(answer + " cannot be used: " + std::string(errorLine));
  }

  [[nodiscard]] std::optional<std::string> first() const {
    const std::lock_guard lock(mutex_);
    return first_;
  }

 private:
  [[nodiscard]] std::string latestAnswer() const {
    const std::lock_guard lock(mutex_);
    return latestAnswer_;
  }

  void noteFirst(std::string what) {
    const std::lock_guard lock(mutex_);
    if (!first_) first_ = std::move(what);
  }

  mutable std::mutex mutex_;
  std::optional<std::string> first_;
  std::string latestAnswer_;
};

/// Passes lines on, notes the errors of answers, and tells of the line that somebody waits for.
class Session::NotingLogger final : public CorvaneSDK::Logger {
 public:
  NotingLogger(std::shared_ptr<Failures> failures, std::shared_ptr<CorvaneSDK::Logger> next)
      : failures_(std::move(failures)), next_(std::move(next)) {}

  void log(std::string_view message, LogLevel level) override {
    if (level == LogLevel::error && !isAboutTheCache(message)) failures_->note(message);
    next_->log(message, level);
    std::function<void()> action;
    {
      const std::lock_guard lock(mutex_);
      if (message == awaitedLine_) action = action_;
    }
    if (action) action();
  }

  void whenLogged(std::string line, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    awaitedLine_ = std::move(line);
    action_ = std::move(action);
  }

 private:
  /// A row that cannot be read counts as absent, and is then asked of the server.
  static bool isAboutTheCache(std::string_view line) {
    return line.starts_with("cached") || line.starts_with("load(key:)") || line.starts_with("save(");
  }

  const std::shared_ptr<Failures> failures_;
  const std::shared_ptr<CorvaneSDK::Logger> next_;
  std::mutex mutex_;
  std::string awaitedLine_;
  std::function<void()> action_;
};

/// Passes requests on, and knows which of them have no answer yet, and how many completions are running.
class Session::SettlingNetwork final : public CorvaneSDK::Network {
 public:
  explicit SettlingNetwork(std::shared_ptr<CorvaneSDK::Network> next) : next_(std::move(next)) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    const std::string& url = request.base().url.absoluteString();
    std::string path = url.substr(0, url.find('?'));
    requests_->sent(path);
    next_->sendRequest(request, [requests = requests_, path = std::move(path),
                                 completion = std::move(completion)](auto data, auto error, auto response) {
      requests->answered(path);
      completion(std::move(data), std::move(error), std::move(response));
      requests->completed();
    });
  }

  void settle() const { requests_->waitForCompletions(); }

  [[nodiscard]] std::optional<std::string> unanswered() const { return requests_->unanswered(); }

 private:
  class Requests {
   public:
    void sent(const std::string& path) {
      const std::lock_guard lock(mutex_);
      unanswered_.push_back(path);
    }

    void answered(const std::string& path) {
      const std::lock_guard lock(mutex_);
      unanswered_.erase(std::find(unanswered_.begin(), unanswered_.end(), path));
      ++running_;
    }

    void completed() {
      const std::lock_guard lock(mutex_);
      if (--running_ == 0) noneRuns_.notify_all();
    }

    void waitForCompletions() {
      std::unique_lock lock(mutex_);
      noneRuns_.wait(lock, [this] { return running_ == 0; });
    }

    [[nodiscard]] std::optional<std::string> unanswered() const {
      const std::lock_guard lock(mutex_);
      return unanswered_.empty() ? std::nullopt : std::optional(unanswered_.front());
    }

   private:
    mutable std::mutex mutex_;
    std::condition_variable noneRuns_;
    int running_ = 0;                      // completions
    std::vector<std::string> unanswered_;  // paths, oldest first
  };

  const std::shared_ptr<CorvaneSDK::Network> next_;
  // Shared, since completions may outlive the network.
  const std::shared_ptr<Requests> requests_ = std::make_shared<Requests>();
};

namespace {

Result<std::shared_ptr<CorvaneSDK::Logger>> openLog(const Arguments& arguments) {
  if (!arguments.logFile) {
    return std::shared_ptr<CorvaneSDK::Logger>(hostkit::SpdlogLogger::toStandardError(arguments.logLevel));
  }
  auto logger = hostkit::SpdlogLogger::toFile(*arguments.logFile, arguments.logLevel);
  if (!logger) return logger.error();
  return std::shared_ptr<CorvaneSDK::Logger>(std::move(logger).value());
}

/// The token in a file or on standard input, without the line end behind it.
std::variant<std::optional<std::string>, Problem> readToken(const std::optional<std::string>& file) {
  if (!file) return std::nullopt;
  std::ifstream stream;
  if (*file != "-") stream.open(*file, std::ios::binary);
  auto& in = *file == "-" ? std::cin : stream;
  const auto unreadable = Problem{ExitCode::usage, "cannot read the token file " + *file};
  if (!in) return unreadable;
  std::string token;
  for (char next = 0; in.get(next);) token += next;
  if (in.bad()) return unreadable;  // a folder, for instance, can be opened
  while (token.ends_with('\n') || token.ends_with('\r')) token.pop_back();
  if (token.empty()) return Problem{ExitCode::usage, "there is no token in " + *file};
  return std::optional(std::move(token));
}

}  // namespace

std::variant<std::unique_ptr<Session>, Problem> Session::open(const Arguments& arguments) {
  auto token = readToken(arguments.tokenFile);
  if (const auto* problem = std::get_if<Problem>(&token)) return *problem;

  const auto failures = std::make_shared<Failures>();
  hostkit::CurlNetwork::Options options{.server = arguments.server};
  options.token = [token = std::get<0>(std::move(token))] { return token; };
  options.observer = [failures](const hostkit::RequestOutcome& outcome) { failures->note(outcome); };
  auto network = hostkit::CurlNetwork::make(std::move(options));
  if (!network) return Problem{ExitCode::usage, network.error().localizedDescription()};

  auto log = openLog(arguments);
  if (!log) return Problem{ExitCode::usage, log.error().localizedDescription()};

  auto cache = hostkit::SQLiteCache::open(arguments.cacheFile);
  if (!cache) return Problem{ExitCode::cacheUnusable, cache.error().localizedDescription()};

  const auto coalescing = std::make_shared<hostkit::CoalescingNetwork>(std::move(network).value());
  const auto settling = std::make_shared<SettlingNetwork>(coalescing);
  const auto noting = std::make_shared<NotingLogger>(failures, std::move(log).value());
  return std::unique_ptr<Session>(
      new Session(failures, settling, noting, {settling, std::move(cache).value(), noting}));
}

Session::Session(std::shared_ptr<Failures> failures, std::shared_ptr<SettlingNetwork> network,
                 std::shared_ptr<NotingLogger> logger, RequiredAPI api)
    : failures_(std::move(failures)),
      network_(std::move(network)),
      logger_(std::move(logger)),
      api_(std::move(api)) {}

Session::~Session() = default;

void Session::whenLogged(std::string line, std::function<void()> action) const {
  logger_->whenLogged(std::move(line), std::move(action));
}

void Session::settle() const {
  network_->settle();
}

std::optional<std::string> Session::unanswered() const {
  return network_->unanswered();
}

std::optional<std::string> Session::failure() const {
  return failures_->first();
}

}  // namespace vellora::command
