#include "apps/vellora/cache/CacheTransfer.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace {

// What the system calls of this thread meet.
thread_local int linkFailure = 0;        // errno of each `link`; 0: none fails
thread_local int interruptedWrites = 0;  // how many of the next `write` a signal interrupts

}  // namespace

// The program's own definitions come before the system's: so the tests run on a disk that cannot link, and
// with signals, wherever they are.
extern "C" int link(const char* from, const char* to) noexcept {
  if (linkFailure != 0) return errno = linkFailure, -1;
  return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}

extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t count) {
  if (interruptedWrites > 0) return --interruptedWrites, errno = EINTR, -1;
  static const auto next = reinterpret_cast<decltype(&write)>(dlsym(RTLD_NEXT, "write"));
  return next(descriptor, bytes, count);
}

namespace vellora::command {
namespace {

class CacheTransferTest : public testing::Test {
 protected:
  ~CacheTransferTest() override {
    linkFailure = 0;
    interruptedWrites = 0;
  }

  [[nodiscard]] ExitCode exportToFile(bool replace = false) const {
    Arguments arguments;
    arguments.cache.file = file;
    arguments.cache.replace = replace;
    return exportTo(arguments, {});
  }

  [[nodiscard]] std::string content() const {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  [[nodiscard]] std::ptrdiff_t files() const {
    return std::distance(std::filesystem::directory_iterator(folder.path()), {});
  }

  tests::TemporaryFolder folder;
  const std::string file = folder.file("seed.json");
};

TEST_F(CacheTransferTest, WritesAFileOnADiskWithoutHardLinks) {
  for (const int failure : {EPERM, EOPNOTSUPP, ENOSYS}) {
    linkFailure = failure;
    EXPECT_EQ(exportToFile(), ExitCode::answered);
    EXPECT_THAT(content(), testing::StartsWith("{\"format\":\"vellora-cache\""));
    EXPECT_EQ(files(), 1);
    std::filesystem::remove(file);
  }
}

TEST_F(CacheTransferTest, WritesOverNothingUnaskedOnADiskWithoutHardLinks) {
  linkFailure = EPERM;
  std::ofstream(file) << "mine";
  EXPECT_EQ(exportToFile(), ExitCode::usage);
  EXPECT_EQ(content(), "mine");
  EXPECT_EQ(files(), 1);
  EXPECT_EQ(exportToFile(true), ExitCode::answered);
  EXPECT_NE(content(), "mine");
}

TEST_F(CacheTransferTest, TellsAnotherFailureToGiveAFileItsName) {
  linkFailure = EIO;
  EXPECT_EQ(exportToFile(), ExitCode::unexpected);
  EXPECT_EQ(files(), 0);
}

TEST_F(CacheTransferTest, GoesOnWritingAfterASignal) {
  interruptedWrites = 2;
  EXPECT_EQ(exportToFile(), ExitCode::answered);
  EXPECT_EQ(interruptedWrites, 0);
  EXPECT_THAT(content(), testing::EndsWith("}\n"));
}

}  // namespace
}  // namespace vellora::command
