#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Catalog/AnswerDocument.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Catalog/QuestionToken.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"
#include "vellora/Platform/Values/RetryAdvice.h"

namespace vellora::tests {
namespace {

// Runs script.txt, which says what its words mean, on the catalogue itself.

struct ScriptError {
  std::string text;
  [[nodiscard]] std::string localizedDescription() const { return text; }
};

struct BusyError {
  std::string text;
  [[nodiscard]] std::string localizedDescription() const { return text; }
  [[nodiscard]] static std::optional<RetryAdvice> retryAdvice() { return RetryAdvice{}; }
};

std::string withoutBlanks(const std::string& text) {
  return text.starts_with(' ') ? text.substr(1) : text;
}

/// The network of a case.
///
/// Threads: safe to use from several threads at once.
class ScriptNetwork final : public CorvaneSDK::Network {
 public:
  using Reply = std::function<void(Completion&)>;

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    Reply reply;
    {
      const std::lock_guard lock(mutex_);
      const std::string& url = request.base().url.absoluteString();
      sent_.push_back(url);
      const auto known = replies_.find(url);
      if (const auto busy = busy_.find(url); busy != busy_.end()) {
        reply = [text = busy->second](Completion& to) { to(std::nullopt, BusyError{text}, std::nullopt); };
        busy_.erase(busy);
      } else if (known == replies_.end()) {
        reply = [](Completion& to) { to(std::nullopt, ScriptError{"not there"}, std::nullopt); };
      } else if (known->second) {
        reply = known->second;
      } else {
        silent_.push_back(std::move(completion));
        changed_.notify_all();
      }
    }
    if (reply) reply(completion);
  }

  /// What a request of that URL gets; null for nothing before `endSilence`.
  void set(const std::string& url, Reply reply) {
    const std::lock_guard lock(mutex_);
    replies_.insert_or_assign(url, std::move(reply));
  }

  /// The next request of that URL gets that first.
  void beBusyOnce(const std::string& url, const std::string& text) {
    const std::lock_guard lock(mutex_);
    busy_.emplace(url, text);
  }

  void awaitSilence() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !silent_.empty(); });
  }

  void endSilence() {
    std::vector<Completion> silent;
    {
      const std::lock_guard lock(mutex_);
      silent.swap(silent_);
    }
    for (const auto& completion : silent) completion(std::nullopt, ScriptError{"too late"}, std::nullopt);
  }

  std::string sent() {
    const std::lock_guard lock(mutex_);
    std::sort(sent_.begin(), sent_.end());
    std::string text;
    for (const auto& url : sent_) text += (text.empty() ? "" : " ") + url;
    sent_.clear();
    return text;
  }

 private:
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::map<std::string, Reply> replies_;
  std::multimap<std::string, std::string> busy_;
  std::vector<Completion> silent_;
  std::vector<std::string> sent_;
};

/// What a question of the script says.
struct Asked {
  std::string kind;
  std::vector<std::string> keys;
  std::map<std::string, std::string> options;

  explicit Asked(const std::string& text) {
    std::istringstream words(text);
    words >> kind;
    for (std::string word; words >> word;) {
      const auto equals = word.find('=');
      if (word.starts_with('@')) {
        options[word.substr(1, equals - 1)] = word.substr(equals + 1);
      } else {
        keys.push_back(word == "(empty)" ? "" : decoded(word));
      }
    }
  }

  [[nodiscard]] std::string option(const std::string& name) const {
    const auto found = options.find(name);
    return found == options.end() ? "" : found->second;
  }

  [[nodiscard]] QuestionOptions questionOptions(const std::string& theme) const {
    QuestionOptions made{.deadline = std::chrono::minutes(10), .theme = theme};
    if (options.contains("deadline"))
      made.deadline = std::chrono::duration<double>(std::stod(option("deadline")));
    if (option("source") == "cacheOnly") made.source = Source::cacheOnly;
    if (option("source") == "serverFirst") made.source = Source::serverFirst;
    return made;
  }

 private:
  static std::string decoded(const std::string& word) {
    std::string bytes;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (word[i] != '%') {
        bytes += word[i];
      } else {
        bytes += static_cast<char>(std::stoi(word.substr(i + 1, 2), nullptr, 16));
        i += 2;
      }
    }
    return bytes;
  }
};

/// The documents that callbacks got.
///
/// Threads: safe to use from several threads at once.
class Documents {
 public:
  void add(const Result<Data>& document) {
    const std::lock_guard lock(mutex_);
    documents_.emplace_back(document ? document.value().view() : "no document");
    changed_.notify_all();
  }

  std::string awaitOne(std::size_t number) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return documents_.size() > number; });
    return documents_[number];
  }

  std::string firstOrNothing() {
    const std::lock_guard lock(mutex_);
    return documents_.empty() ? "nothing" : documents_.front();
  }

 private:
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::vector<std::string> documents_;
};

/// One case: a catalogue on a network of its own.
class ScriptCase {
 public:
  ScriptCase() {
    hostkit::StandardPlatformAPI::Options options;
    options.network = network_;
    host_ = hostkit::StandardPlatformAPI::make(std::move(options)).value();
    catalog_ =
        std::make_unique<Catalog>(host_, CatalogOptions{.retry = {.attempts = 2}, .loadsAtOnce = false});
  }

  ~ScriptCase() {
    watch_.cancel();
    states_.reset();
    catalog_.reset();
    network_->endSilence();
  }

  ScriptCase(const ScriptCase&) = delete;
  ScriptCase& operator=(const ScriptCase&) = delete;

  /// Does what a line says; what it keeps is in `kept`.
  void run(const std::string& word, const std::string& rest) {
    if (word == "server" || word == "refuses" || word == "busy" || word == "silent")
      return prepare(word, rest);
    if (word == "sent") return static_cast<void>(kept = network_->sent());
    if (word == "forget") return catalog_->forget();
    if (word == "release") return catalog_->releaseMemory();
    if (word == "state") return keep(readinessDocument(catalog_->readiness()));
    if (word == "again") return static_cast<void>(kept = watched_->awaitOne(++watchedSoFar_));
    if (word == "watch" && rest == "readiness") return watchReadiness();
    withQuestion(word, Asked(rest));
  }

  std::string kept;

 private:
  void prepare(const std::string& word, const std::string& rest) {
    const auto blank = rest.find(' ');
    const std::string url = rest.substr(0, blank);
    const std::string text = blank == std::string::npos ? "" : rest.substr(blank + 1);
    if (word == "silent") return network_->set(url, nullptr);
    if (word == "busy") return network_->beBusyOnce(url, text);
    network_->set(url, [text, isBody = word == "server"](CorvaneSDK::Network::Completion& completion) {
      if (isBody) return completion(Data(text), std::nullopt, std::nullopt);
      completion(std::nullopt, ScriptError{text}, std::nullopt);
    });
  }

  void watchReadiness() {
    states_ = catalog_->readinessStream().sink(
        [to = watched_](const Readiness& readiness) { to->add(readinessDocument(readiness)); });
    kept = watched_->awaitOne(0);
  }

  void keep(const Result<Data>& document) { kept = document ? document.value().view() : "no document"; }

  void withQuestion(const std::string& word, const Asked& asked) {
    const Keys keys(asked.keys);
    const auto theme = asked.option("theme");
    const auto options = asked.questionOptions(theme);
    const auto& catalog = *catalog_;
    if (asked.kind == "records") {
      run(
          word, [=, &catalog] { return catalog.records(keys, options); },
          [=](const auto& answer) { return recordsDocument(answer, keys); });
    } else if (asked.kind == "types") {
      run(
          word, [=, &catalog] { return catalog.types(keys, options); },
          [=](const auto& answer) { return typesDocument(answer, keys); });
    } else if (asked.kind == "allTypes") {
      run(
          word, [=, &catalog] { return catalog.allTypes(asked.option("filter"), options); },
          [](const auto& answer) { return allTypesDocument(answer); });
    } else if (asked.kind == "searchColumns") {
      run(
          word, [=, &catalog] { return catalog.searchColumns(keys, options); },
          [=](const auto& answer) { return searchColumnsDocument(answer, keys); });
    } else if (asked.kind == "headlines") {
      run(
          word, [=, &catalog] { return catalog.headlines(keys, options); },
          [=](const auto& answer) { return headlinesDocument(answer, keys); });
    } else if (asked.kind == "refresh") {
      ASSERT_EQ(word, "ask");
      keep(refreshDocument(catalog.refresh({.deadline = options.deadline}).get()));
    } else {
      FAIL() << "no kind " << asked.kind;
    }
  }

  template <class Ask, class Document>
  void run(const std::string& word, Ask ask, Document document) {
    if (word == "ask") return keep(document(ask().get()));
    if (word == "watch") {
      watch_ = catalog_->watch(ask, [=, to = watched_](const auto& answer) { to->add(document(answer)); });
      return static_cast<void>(kept = watched_->awaitOne(0));
    }
    const auto documents = std::make_shared<Documents>();
    auto token = ask().then([=](const auto& answer) { documents->add(document(answer)); });
    if (word == "listen") return static_cast<void>(kept = documents->awaitOne(0));
    network_->awaitSilence();
    if (word == "cancel") token.cancel();
    if (word == "close") catalog_.reset();
    network_->endSilence();
    kept = documents->firstOrNothing();
  }

  const std::shared_ptr<ScriptNetwork> network_ = std::make_shared<ScriptNetwork>();
  const std::shared_ptr<Documents> watched_ = std::make_shared<Documents>();
  std::size_t watchedSoFar_ = 0;
  std::shared_ptr<hostkit::StandardPlatformAPI> host_;
  std::unique_ptr<Catalog> catalog_;
  QuestionToken watch_;
  std::optional<AnyCancellable> states_;
};

std::string withoutMoments(const std::string& document) {
  static const std::regex fetched(R"("fetched":"[^"]*")");
  return std::regex_replace(document, fetched, R"("fetched":"T")");
}

TEST(CatalogScriptTest, EachCaseComesToWhatTheScriptSays) {
  std::ifstream script(SCRIPT);
  ASSERT_TRUE(script) << SCRIPT;
  std::unique_ptr<ScriptCase> current;
  std::size_t expectations = 0;
  std::size_t number = 0;
  for (std::string line; std::getline(script, line);) {
    ++number;
    SCOPED_TRACE("line " + std::to_string(number));
    const auto word = line.substr(0, line.find(' '));
    const auto rest = withoutBlanks(line.substr(word.size()));
    if (word.empty() || word.starts_with('#') || word == "without") continue;
    if (word == "case") {
      current = std::make_unique<ScriptCase>();
    } else if (word == "expect") {
      ++expectations;
      EXPECT_EQ(withoutMoments(current->kept), rest);
    } else {
      current->run(word, rest);
    }
  }
  EXPECT_EQ(expectations, EXPECTATIONS) << "the script was not read whole";
}

}  // namespace
}  // namespace vellora::tests
