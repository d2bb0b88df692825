// Asks a records server about some records, then prints what a catalogue's observer was told, as OpenMetrics
// text.
//
//     telemetry http://127.0.0.1:8080 001000000000001 00B000000000003

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/CatalogObserver.h"

using namespace vellora;
using namespace std::chrono_literals;

namespace {

using Labels = std::string;  // such as `kind="records",end="answered"`

Labels label(std::string_view name, std::string_view value) {
  return std::string(name).append("=\"").append(value).append("\"");
}

// [observer]
/// Counts what it is told, for whoever asks for the page of metrics.
class Metrics final : public CatalogObserver {
 public:
  void questionEnded(const QuestionReport& report) override {
    const Labels kind = label("kind", nameOf(report.question.kind));
    const std::lock_guard lock(mutex_);
    ++questions_[kind + "," + label("end", nameOf(report.end)) + "," + label("from", nameOf(report.origin))];
    for (const auto& [why, keys] : report.missing) missing_[kind + "," + label("why", nameOf(why))] += keys;
    seconds_[kind].add(report.time.count());
    told_.notify_all();
  }

  void requestEnded(const RequestReport& report) override {
    const Labels path = label("path", report.path) + "," + label("cause", nameOf(report.cause.kind));
    const std::lock_guard lock(mutex_);
    ++requests_[path + "," + label("outcome", nameOf(report.outcome))];
  }
  // [observer]

  [[nodiscard]] std::string openMetrics() const {
    const std::lock_guard lock(mutex_);
    std::ostringstream page;
    writeCounter(page, "vellora_questions", questions_);
    writeCounter(page, "vellora_missing_keys", missing_);
    writeCounter(page, "vellora_requests", requests_);
    page << "# TYPE vellora_question_seconds summary\n# UNIT vellora_question_seconds seconds\n";
    for (const auto& [labels, seconds] : seconds_) {
      page << "vellora_question_seconds_count{" << labels << "} " << seconds.count << '\n'
           << "vellora_question_seconds_sum{" << labels << "} " << seconds.sum << '\n';
    }
    page << "# EOF\n";
    return page.str();
  }

  /// Waits until it has been told of so many questions: it is told a little behind their answers.
  void waitForQuestions(std::uint64_t number) const {
    std::unique_lock lock(mutex_);
    told_.wait(lock, [&] { return ended() >= number; });
  }

 private:
  using Counter = std::map<Labels, std::uint64_t>;

  struct Summary {
    std::uint64_t count = 0;
    double sum = 0;
    void add(double value) {
      ++count;
      sum += value;
    }
  };

  [[nodiscard]] std::uint64_t ended() const {
    std::uint64_t all = 0;
    for (const auto& [labels, seconds] : seconds_) all += seconds.count;
    return all;
  }

  static void writeCounter(std::ostream& page, std::string_view name, const Counter& counter) {
    page << "# TYPE " << name << " counter\n";
    for (const auto& [labels, count] : counter) page << name << "_total{" << labels << "} " << count << '\n';
  }

  mutable std::condition_variable told_;
  mutable std::mutex mutex_;  // guards what follows: the page is asked for on other threads
  Counter questions_;
  Counter missing_;
  Counter requests_;
  std::map<Labels, Summary> seconds_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return std::cerr << "usage: telemetry SERVER RECORD-ID…\n", 2;
  const std::vector<std::string> ids(argv + 2, argv + argc);
  const auto host = hostkit::StandardPlatformAPI::make({.server = argv[1]});
  if (!host) return std::cerr << host.error().localizedDescription() << '\n', 1;
  // [use]
  const auto metrics = std::make_shared<Metrics>();
  const Catalog catalog(host.value(), {.theme = "light", .cacheTimeout = 1h, .observer = metrics});
  // [use]
  static_cast<void>(catalog.records(ids).get());
  metrics->waitForQuestions(2);  // the first load is one, too
  std::cout << metrics->openMetrics();
}
