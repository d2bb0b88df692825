#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "conformance/LoggerConformance.h"
#include "tests/conformance/BrokenHosts.h"

namespace vellora::conformance::tests {
namespace {

using CorvaneSDK::Logger;
using CorvaneSDK::LogLevel;
using testing::ElementsAre;
using testing::IsEmpty;

/// A logger that writes into a text, in a way that a test breaks.
class TextLogger : public Logger {
 public:
  void log(std::string_view message, LogLevel) override {
    const std::lock_guard lock(mutex_);
    write(message);
  }

  [[nodiscard]] virtual std::string text() { return text_; }

 protected:
  virtual void write(std::string_view message) { text_ += escaped(message) + "\n"; }

  static std::string escaped(std::string_view message) {
    std::string line;
    for (const char c : message) line += c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
    return line;
  }

  std::mutex mutex_;
  std::string text_;
};

template <class L>
class TextLoggerHost final : public LoggerHost {
 public:
  std::shared_ptr<Logger> logger() override { return logger_; }

  std::vector<std::string> lines() override {
    std::istringstream text(logger_->text());
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }

 private:
  const std::shared_ptr<L> logger_ = std::make_shared<L>();
};

template <class L>
std::set<std::string> brokenByLogger() {
  const std::function<std::unique_ptr<LoggerHost>()> make = [] {
    return std::make_unique<TextLoggerHost<L>>();
  };
  return tests::brokenBy(make, loggerGuarantees());
}

TEST(BrokenLoggersTest, ARightLoggerBreaksNothing) {
  EXPECT_THAT(brokenByLogger<TextLogger>(), IsEmpty());
}

TEST(BrokenLoggersTest, WritingLineEndsAsTheyAreIsFound) {
  class Broken final : public TextLogger {
    void write(std::string_view message) override { text_.append(message) += '\n'; }
  };
  EXPECT_THAT(brokenByLogger<Broken>(), ElementsAre("AMessageWithLineEndsIsStillOneLine"));
}

TEST(BrokenLoggersTest, LeavingOutEmptyMessagesIsFound) {
  class Broken final : public TextLogger {
    void write(std::string_view message) override {
      if (!message.empty()) TextLogger::write(message);
    }
  };
  EXPECT_THAT(brokenByLogger<Broken>(), ElementsAre("AnEmptyMessageIsALineToo"));
}

TEST(BrokenLoggersTest, ReplacingWhatIsNotAsciiIsFound) {
  class Broken final : public TextLogger {
    void write(std::string_view message) override {
      std::string ascii(message);
      for (char& c : ascii) c = static_cast<unsigned char>(c) < 128 ? c : '?';
      TextLogger::write(ascii);
    }
  };
  EXPECT_THAT(brokenByLogger<Broken>(), ElementsAre("TextBeyondAsciiIsKept"));
}

TEST(BrokenLoggersTest, TakingAMessageForAFormatIsFound) {
  class Broken final : public TextLogger {
    void write(std::string_view message) override {
      std::string formatted(message);
      if (const auto found = formatted.find("{}"); found != std::string::npos) formatted.erase(found, 2);
      TextLogger::write(formatted);
    }
  };
  EXPECT_THAT(brokenByLogger<Broken>(), ElementsAre("AMessageThatLooksLikeAFormatIsWrittenAsItIs"));
}

TEST(BrokenLoggersTest, CuttingLongMessagesIntoPiecesIsFound) {
  class Broken final : public Logger {
   public:
    void log(std::string_view message, LogLevel) override {
      add(message.substr(0, 60));
      if (message.starts_with('<')) letAnotherThreadIn();
      add(message.size() > 60 ? std::string(message.substr(60)) + "\n" : "\n");
    }
    std::string text() { return text_; }

   private:
    void add(std::string_view part) {
      const std::lock_guard lock(mutex_);
      for (const char c : part.substr(0, part.size() - (part.ends_with('\n') ? 1 : 0))) {
        text_ += c == '\n' || c == '\r' ? ' ' : c;
      }
      if (part.ends_with('\n')) text_ += '\n';
    }
    // The first two messages of the threads stand half written at the same time.
    void letAnotherThreadIn() {
      if (halves_++ < 2) twoHalves_.arrive_and_wait();
    }
    std::mutex mutex_;
    std::string text_;
    std::atomic<int> halves_ = 0;
    std::latch twoHalves_{2};
  };
  EXPECT_THAT(brokenByLogger<Broken>(), ElementsAre("LinesOfSeveralThreadsAreWhole"));
}

TEST(BrokenLoggersTest, KeepingTheMessageItselfForLaterIsFound) {
  // Keeps only messages of one length: the caller overwrites their text but does not free it. Of others the
  // text would be gone.
  class Broken final : public TextLogger {
   public:
    std::string text() override { return kept_.empty() ? text_ : std::string(kept_) + "\n"; }

   private:
    void write(std::string_view message) override {
      if (message.size() == 200) {
        kept_ = message;
      } else {
        TextLogger::write(message);
      }
    }
    std::string_view kept_;
  };
  EXPECT_THAT(brokenByLogger<Broken>(), ElementsAre("TheMessageIsNotNeededBehindTheCall"));
}

}  // namespace
}  // namespace vellora::conformance::tests
