#include "hostkit/log/SpdlogLogger.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <future>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutStandardInput.h"
#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::TemporaryFolder;

using CorvaneSDK::LogLevel;
using Level = SpdlogLogger::Level;
using testing::ElementsAre;
using testing::MatchesRegex;

const std::string time = "[0-9]+-[0-9]+-[0-9]+T[0-9]+:[0-9]+:[0-9]+.[0-9]+Z ";

class SpdlogLoggerTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<SpdlogLogger> open(Level level) const {
    return SpdlogLogger::toFile(path, level).value();
  }

  [[nodiscard]] std::vector<std::string> lines() const {
    std::istringstream text(fileBytes(path));
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }

  TemporaryFolder folder;
  const std::string path = folder.file("vellora.log");
};

TEST_F(SpdlogLoggerTest, WritesTimeLevelAndMessage) {
  const auto logger = open(Level::info);
  logger->log("cachedThemes(), hit", LogLevel::info);
  logger->log("no data", LogLevel::error);

  EXPECT_THAT(lines(), ElementsAre(MatchesRegex(time + "info cachedThemes\\(\\), hit"),
                                   MatchesRegex(time + "error no data")));
}

TEST_F(SpdlogLoggerTest, WritesEachLineAtOnce) {
  const auto logger = open(Level::info);
  logger->log("first", LogLevel::info);
  EXPECT_EQ(lines().size(), 1U);
}

TEST_F(SpdlogLoggerTest, LeavesOutWhatIsBelowItsLevel) {
  open(Level::error)->log("progress", LogLevel::info);
  open(Level::off)->log("failure", LogLevel::error);
  EXPECT_THAT(lines(), testing::IsEmpty());

  open(Level::error)->log("failure", LogLevel::error);
  EXPECT_EQ(lines().size(), 1U);
}

TEST_F(SpdlogLoggerTest, OneMessageIsOneLine) {
  open(Level::info)->log("forged\n2026-01-01T00:00:00.000Z error line\x1b[2J", LogLevel::info);
  ASSERT_EQ(lines().size(), 1U);
  EXPECT_THAT(lines()[0], testing::EndsWith(" info forged\\n2026-01-01T00:00:00.000Z error line\\x1b[2J"));
}

TEST_F(SpdlogLoggerTest, CutsAMessageThatIsLongerThanAnybodyReads) {
  const std::string longest(SpdlogLogger::longestMessage, 'k');
  open(Level::info)->log(longest, LogLevel::info);
  open(Level::info)->log(longest.substr(1) + "é" + std::string(10'000'000, 'k'), LogLevel::info);
  ASSERT_EQ(lines().size(), 2U);
  EXPECT_THAT(lines()[0], testing::EndsWith(" info " + longest));
  EXPECT_THAT(lines()[1], testing::EndsWith(" info " + longest.substr(1) + "… (10065537 bytes in all)"));
}

TEST_F(SpdlogLoggerTest, CutsAMessageInFrontOfACharacterOfFourBytes) {
  const std::string longest(SpdlogLogger::longestMessage, 'k');
  open(Level::info)->log(longest.substr(3) + "\xF0\x9F\x8C\x8D", LogLevel::info);
  ASSERT_EQ(lines().size(), 1U);
  EXPECT_THAT(lines()[0], testing::EndsWith(" info " + longest.substr(3) + "… (65537 bytes in all)"));
}

TEST_F(SpdlogLoggerTest, CutsAMessageThatIsNoTextThreeBytesEarlierAtMost) {
  const std::string bytes(SpdlogLogger::longestMessage + 1, '\x80');
  open(Level::info)->log(bytes, LogLevel::info);
  ASSERT_EQ(lines().size(), 1U);
  const auto cut = escapedText(bytes.substr(0, SpdlogLogger::longestMessage - 3));
  EXPECT_TRUE(lines()[0].ends_with(" info " + cut + "… (65537 bytes in all)"));
}

TEST_F(SpdlogLoggerTest, TakesBracesForText) {
  open(Level::info)->log("{} {0} %v", LogLevel::info);
  EXPECT_THAT(lines(), ElementsAre(testing::EndsWith(" info {} {0} %v")));
}

TEST_F(SpdlogLoggerTest, AppendsToAFileThatIsThere) {
  open(Level::info)->log("first", LogLevel::info);
  open(Level::info)->log("second", LogLevel::info);
  EXPECT_EQ(lines().size(), 2U);
}

TEST_F(SpdlogLoggerTest, CreatesTheFileForItsOwnerAlone) {
  open(Level::info)->log("first", LogLevel::info);
  EXPECT_EQ(modeOf(path), 0600U);
}

TEST_F(SpdlogLoggerTest, ClosesItsFile) {
  const int before = nextDescriptor();
  static_cast<void>(open(Level::info));
  EXPECT_EQ(nextDescriptor(), before);
}

TEST_F(SpdlogLoggerTest, TellsAFileThatCannotBeWritten) {
  const auto opened = SpdlogLogger::toFile(folder.file("missing/vellora.log"), Level::info);

  ASSERT_FALSE(opened.hasValue());
  EXPECT_EQ(opened.error().localizedDescription(), "The log file \"" + folder.file("missing/vellora.log") +
                                                       "\" cannot be written (No such file or directory). "
                                                       "Choose a path in a folder that you may write to.");
  EXPECT_FALSE(SpdlogLogger::toFile(folder.path().string(), Level::info).hasValue());
  EXPECT_FALSE(SpdlogLogger::toFile(std::string("a\0b", 3), Level::info).hasValue());
}

TEST_F(SpdlogLoggerTest, TellsAPipeThatNobodyReads) {
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  const auto opened = SpdlogLogger::toFile(path, Level::info);
  ASSERT_FALSE(opened.hasValue());
  EXPECT_THAT(opened.error().localizedDescription(),
              testing::HasSubstr("(it is a pipe that nobody reads from, or a socket)"));
}

/// Reads a pipe, which it makes.
class PipeReader {
 public:
  explicit PipeReader(const std::string& path) {
    if (::mkfifo(path.c_str(), 0600) == 0)
      descriptor_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }
  ~PipeReader() { ::close(descriptor_); }
  PipeReader(const PipeReader&) = delete;
  PipeReader& operator=(const PipeReader&) = delete;

  /// What is there, up to so many bytes.
  [[nodiscard]] std::string read(std::size_t most) const {
    std::string bytes(most, '\0');
    const auto count = ::read(descriptor_, bytes.data(), bytes.size());
    bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return bytes;
  }

  /// Makes room for so many bytes alone, and gives back how many it has become.
  [[nodiscard]] std::size_t narrow(int bytes) const {
    return static_cast<std::size_t>(::fcntl(descriptor_, F_SETPIPE_SZ, bytes));
  }

 private:
  int descriptor_ = -1;
};

TEST_F(SpdlogLoggerTest, WritesToAPipeThatSomebodyReads) {
  const PipeReader reader(path);
  const auto logger = open(Level::info);
  errno = EINTR;  // of a call before
  logger->log("first", LogLevel::info);
  EXPECT_THAT(reader.read(1000), MatchesRegex(time + "info first\n"));
}

std::atomic<int> signalsTaken = 0;

/// Has a signal end what a thread waits within, and returns when the thread has taken it.
void interrupt(std::thread& thread, pid_t id) {
  const auto isAsleep = [&] {
    const auto stat = fileBytes("/proc/self/task/" + std::to_string(id) + "/stat");
    return stat.find(") S ") != std::string::npos;
  };
  while (!isAsleep()) std::this_thread::yield();
  const int taken = signalsTaken;
  ::pthread_kill(thread.native_handle(), SIGUSR1);
  while (signalsTaken == taken) std::this_thread::yield();
}

TEST_F(SpdlogLoggerTest, GoesOnWithALineThatSignalsInterrupt) {
  struct sigaction action = {};
  action.sa_handler = [](int) { ++signalsTaken; };  // without SA_RESTART: a call that waits ends
  struct sigaction before = {};
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
  const PipeReader reader(path);
  const auto logger = open(Level::info);
  const std::string message(2 * reader.narrow(4096), 'x');
  std::promise<pid_t> id;
  std::atomic<bool> isWritten = false;
  std::thread thread([&] {
    id.set_value(::gettid());
    logger->log(message, LogLevel::info);
    isWritten = true;
  });
  const pid_t writer = id.get_future().get();
  for (int signal = 0; signal < 5; ++signal) interrupt(thread, writer);  // nobody reads: it waits each time
  std::string line;
  while (!isWritten) line += reader.read(message.size());
  thread.join();
  line += reader.read(message.size());
  ::sigaction(SIGUSR1, &before, nullptr);
  EXPECT_THAT(line, testing::EndsWith(" info " + message + "\n"));
}

TEST_F(SpdlogLoggerTest, WritesWhereItsFileHasTheNumberOfStandardInput) {
  const PipeReader reader(path);
  const vellora::tests::WithoutStandardInput closed;
  const auto logger = open(Level::info);
  ASSERT_EQ(::fcntl(STDIN_FILENO, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_WRONLY);
  logger->log("first", LogLevel::info);
  EXPECT_THAT(reader.read(1000), MatchesRegex(time + "info first\n"));
}

TEST_F(SpdlogLoggerTest, DropsALineThatCannotBeWritten) {
  testing::internal::CaptureStderr();
  const auto logger = SpdlogLogger::toFile("/dev/full", Level::info).value();
  EXPECT_NO_THROW(logger->log("first", LogLevel::info));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(SpdlogLoggerTest, WritesToStandardError) {
  testing::internal::CaptureStderr();
  const auto logger = SpdlogLogger::toStandardError(Level::error);
  logger->log("failure", LogLevel::error);
  logger->log("progress", LogLevel::info);
  const std::string written = testing::internal::GetCapturedStderr();

  EXPECT_THAT(written, testing::EndsWith(" error failure\n"));
}

TEST_F(SpdlogLoggerTest, KnowsItsLevelsByName) {
  EXPECT_EQ(SpdlogLogger::levelNamed("off"), Level::off);
  EXPECT_EQ(SpdlogLogger::levelNamed("error"), Level::error);
  EXPECT_EQ(SpdlogLogger::levelNamed("info"), Level::info);
  EXPECT_EQ(SpdlogLogger::levelNamed("Info"), std::nullopt);
  EXPECT_EQ(SpdlogLogger::levelNamed(""), std::nullopt);
}

TEST_F(SpdlogLoggerTest, KeepsLinesWholeAmongThreads) {
  const auto logger = open(Level::info);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&logger] {
      for (int line = 0; line < 50; ++line) logger->log(std::string(200, 'x'), LogLevel::info);
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(lines().size(), 200U);
  for (const auto& line : lines()) EXPECT_THAT(line, testing::EndsWith(" info " + std::string(200, 'x')));
}

}  // namespace
}  // namespace vellora::hostkit::tests
