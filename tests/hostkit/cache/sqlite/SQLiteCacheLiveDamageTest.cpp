#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/hostkit/cache/sqlite/DamagedCacheTest.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/LongForm.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::longForm;

/// A file that is written to behind the back of whoever has it open. To close it again would take the locks
/// of this process off it, so that is left to the end.
class Intruder {
 public:
  explicit Intruder(const std::string& path) : descriptor_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    EXPECT_GE(descriptor_, 0) << path;
  }
  ~Intruder() { close(descriptor_); }
  Intruder(const Intruder&) = delete;
  Intruder& operator=(const Intruder&) = delete;

  void flip(std::size_t offset, unsigned char change) const {
    unsigned char byte = 0;
    EXPECT_EQ(pread(descriptor_, &byte, 1, static_cast<off_t>(offset)), 1);
    byte ^= change;
    EXPECT_EQ(pwrite(descriptor_, &byte, 1, static_cast<off_t>(offset)), 1);
  }

  void cut(std::size_t size) const { EXPECT_EQ(ftruncate(descriptor_, static_cast<off_t>(size)), 0); }

 private:
  const int descriptor_;
};

/// A cache whose files are damaged while it has them open, with nothing of their rows in memory yet, or all.
class SQLiteCacheLiveDamageTest : public DamagedCacheTest {
 protected:
  enum class Memory { cold, warm };

  static std::size_t stride(std::size_t ofShortForm, std::size_t ofLongForm = 1) {
    return longForm("VELLORA_TEST_EVERY_BYTE") ? ofLongForm : ofShortForm;
  }

  /// Everything as `fill` left it, in a file, or still in its log.
  void restore() {
    removeAllFiles();
    writeFile(path, sound);
  }

  void expectNoWrongAnswerWhen(Memory memory, const std::string& suffix, auto damage) {
    {
      const auto cache = open().value();
      // Where the log is to be damaged, another connection keeps it from being moved into the file.
      const auto writer = suffix.empty() ? nullptr : open().value();
      if (writer) fill(*writer);
      if (memory == Memory::warm) expectNoWrongRow(*cache->openTable("Rows"));
      const Intruder intruder(path + suffix);
      damage(intruder);
      // The log's index can lead to a page as it was before.
      const bool orEarlier = suffix == "-shm";
      if (orEarlier) {
        expectWhatWasWritten(*cache, orEarlier, true);
      } else {
        expectNoWrongAnswer(*cache);
      }
      if (writer) expectWhatWasWritten(*writer, orEarlier);
    }
    // The next start opens the files or refuses them; a damaged log counts up to the damage.
    const auto next = open();
    if (next) expectWhatWasWritten(*next.value(), !suffix.empty());
    restore();
  }

  /// Every answer is the right one, or none, or what `expectNoWrongAnswer` writes in the end; or what was
  /// there before `fill`'s last writes, if `orEarlier`.
  void expectWhatWasWritten(SQLiteCache& cache, bool orEarlier, bool counted = false) {
    const auto expectOneOf = [&](const std::optional<Data>& found, const std::string& right,
                                 const std::string& earlier) {
      if (counted) ++(found ? answers : misses);
      const std::string text = textOf(found);
      EXPECT_TRUE(!found || text == right || text == "new" || (orEarlier && text == earlier)) << text;
    };
    for (const auto& [key, text] : blobs) expectOneOf(cache.load(key), text, "an earlier blob");
    const auto table = cache.openTable("Rows");
    for (const auto& name : names) {
      if (!table) break;
      const auto found = table->load(exactly(name));
      EXPECT_LE(found.size(), 1U) << name;
      expectOneOf(found.empty() ? std::nullopt : std::optional(found[0]), "data of " + name,
                  "earlier data of " + name);
    }
  }

  [[nodiscard]] std::size_t sizeOf(const std::string& suffix) {
    const auto cache = open().value();
    fill(*cache);
    return static_cast<std::size_t>(std::filesystem::file_size(path + suffix));
  }

  void flipEach(const std::string& suffix, std::size_t size, std::size_t step) {
    for (const Memory memory : {Memory::cold, Memory::warm}) {
      for (std::size_t offset = 0; offset < size && !HasFailure(); offset += step) {
        SCOPED_TRACE("byte " + std::to_string(offset) + (memory == Memory::warm ? ", warm" : ""));
        expectNoWrongAnswerWhen(memory, suffix, [&](const Intruder& intruder) {
          intruder.flip(offset, static_cast<unsigned char>(1 + offset % 255));
        });
      }
    }
    std::cout << "flips: " << 2 * ((size + step - 1) / step) << ", answers " << answers << ", misses "
              << misses << '\n';
    EXPECT_GT(answers, misses);
    EXPECT_GT(misses, 0) << "nobody read what was damaged";
  }

  void cutEverywhere(const std::string& suffix, std::size_t size, std::size_t step) {
    for (std::size_t left = 0; left < size && !HasFailure(); left += step) {
      SCOPED_TRACE("cut to " + std::to_string(left));
      expectNoWrongAnswerWhen(Memory::cold, suffix, [&](const Intruder& intruder) { intruder.cut(left); });
    }
    EXPECT_GT(misses, 0) << "nobody read what was cut";
  }
};

TEST_F(SQLiteCacheLiveDamageTest, AFlippedByteOfTheFileGivesNoWrongAnswer) {
  flipEach("", sound.size(), stride(997));
}

TEST_F(SQLiteCacheLiveDamageTest, ACutFileGivesNoWrongAnswer) {
  cutEverywhere("", sound.size(), 4096);
}

TEST_F(SQLiteCacheLiveDamageTest, AFlippedByteOfTheLogGivesNoWrongAnswer) {
  flipEach("-wal", sizeOf("-wal"), stride(4001, 7));
}

TEST_F(SQLiteCacheLiveDamageTest, ACutLogGivesNoWrongAnswer) {
  cutEverywhere("-wal", sizeOf("-wal"), 4120);
}

TEST_F(SQLiteCacheLiveDamageTest, AFlippedByteOfTheLogsIndexGivesWhatWasWrittenOrNothing) {
  flipEach("-shm", sizeOf("-shm"), stride(331));
}

}  // namespace
}  // namespace vellora::hostkit::tests
