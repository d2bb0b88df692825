#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>
#include <random>
#include <string>

#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/power/CacheLife.h"
#include "tests/power/Diary.h"
#include "tests/power/DiskJournal.h"
#include "tests/power/DiskRecorder.h"
#include "tests/support/LongForm.h"
#include "tests/support/TemporaryFolder.h"

// A cache is changed while all is recorded that it does to its files. Then the power is lost, at some moment
// of that: what was not synced may be gone, or there. The cache is opened with what is left, and while that
// is looked into and written to, the power is lost again. A loss has a number, from which everything about it
// is drawn.

namespace vellora::hostkit::tests {
namespace {

using vellora::tests::DiskImage;
using vellora::tests::DiskJournal;
using vellora::tests::DiskRecorder;
using vellora::tests::longForm;
using vellora::tests::TemporaryFolder;

constexpr double eightDays = 8 * 24 * 60 * 60;

void fill(CacheLife& life) {
  life.open();
  for (const char* name : {"blob kept", "blob replaced", "blob dropped"})
    life.set(name, std::string(5000, 'o') + name);
  for (const char* name : {"kept", "replaced", "dropped"}) life.set(name, std::string("old ") + name);
  life.close();
}

void fillAndGrowOld(CacheLife& life) {
  life.open();
  life.set("blob kept", "a blob never grows old");
  life.set("old", std::string(9000, 'o'));
  life.close();
  life.growOld("old", eightDays);
}

/// Overwrites the beginning of what stands around `text` in the file: its page, or the file itself.
void damage(const std::string& path, const std::string& text) {
  std::string bytes = fileBytes(path);
  writeFile(path, bytes.replace(bytes.find(text) / 4096 * 4096, 16, std::string(16, '\xff')));
}

std::string plainPath(const std::string& folder) {
  return folder + "/cache.db";
}

/// The path depends on a key, which is made in the folder where there is none.
std::string pathOfAlice(const std::string& folder) {
  return ownCacheFile(folder, "records", "alice").value();
}

/// One thing that a cache does.
struct Stage {
  friend void PrintTo(const Stage& stage, std::ostream* out) { *out << stage.name; }

  const char* name;
  void (*prepare)(CacheLife&);  // unrecorded, and durable
  void (*run)(CacheLife&);
  bool isDamagedAtFirst = false;
  std::string (*pathIn)(const std::string& folder) = plainPath;
  unsigned share = 1;  // one of so many losses is tried, where each takes long
};

const Stage stages[] = {
    {"Creating", [](CacheLife&) {},
     [](CacheLife& life) {
       life.open();
       life.set("blob added", "first");
       life.close();
     }},
    {"CreatingInPlaceOfAnEmptyFile", [](CacheLife& life) { writeFile(life.path(), ""); },
     [](CacheLife& life) {
       life.open();
       life.close();
     }},
    {"Opening", fill,
     [](CacheLife& life) {
       life.open();
       EXPECT_EQ(life.contents(), life.diary().latest());
       life.close();
     }},
    {"Writing", fill,
     [](CacheLife& life) {
       life.open();
       life.set("blob replaced", "a new and shorter one");
       life.set("replaced", std::string(6000, 'n'));
       life.set("blob added", std::string(9000, 'n'));
       life.set("added", "new");
       life.close();
       life.open();
       life.set("added", "newer");
     }},
    {"WritingMoreThanALogHolds", fill,
     [](CacheLife& life) {
       life.open();
       for (int i = 0; i < 27; ++i) {
         life.set("blob added", std::string(400'000, static_cast<char>('a' + i % 26)));
         life.set("added", std::to_string(i));
       }
       EXPECT_GT(std::filesystem::file_size(life.path()), 400'000U) << "the log has not been full";
       life.close();
     },
     false, plainPath, 5},
    {"Dropping", fill,
     [](CacheLife& life) {
       life.open();
       life.drop("blob dropped");
       life.drop("dropped");
       life.close();
     }},
    {"DroppingARowsTable", fill,
     [](CacheLife& life) {
       life.open();
       life.dropRows();
       life.drop("blob kept");
       life.drop("blob replaced");
       life.set("added", "after it");
       life.close();
     }},
    {"DroppingWhatIsTooOld", fillAndGrowOld,
     [](CacheLife& life) {
       life.open();
       life.set("added", "new");
       life.close();
     }},
    {"Restoring", [](CacheLife&) {},
     [](CacheLife& life) {
       life.open();
       life.restore(
           {{"kept", "1"}, {"added", std::string(7000, 'r')}, {"blob kept", "2"}, {"blob added", "3"}});
       life.close();
     }},
    {"Destroying", fill,
     [](CacheLife& life) {
       life.destroy();
       life.open();
       life.set("added", "of the next one");
       life.close();
     }},
    {"ReplacingWhatIsDamagedAtOnce",
     [](CacheLife& life) {
       fill(life);
       damage(life.path(), "SQLite");
     },
     [](CacheLife& life) {
       life.meetDamage();
       life.set("added", "after it");
       life.close();
     },
     true},
    {"ReplacingWhatIsFoundDamagedLater",
     [](CacheLife& life) {
       fill(life);
       damage(life.path(), "old kept");
     },
     [](CacheLife& life) {
       life.open();
       life.meetDamage();
       life.set("added", "after it");
       life.close();
     },
     true},
    {"CreatingUnderTheNameOfItsOwner", [](CacheLife&) {},
     [](CacheLife& life) {
       life.moveTo(pathOfAlice(std::filesystem::path(life.path()).parent_path()));
       life.open();
       life.set("added", "first");
       life.close();
     },
     false, pathOfAlice},
};

/// What a stage did to the disk, and to the cache.
struct Recorded {
  DiskJournal journal;
  Diary diary;
};

/// What the losses came to.
struct Tally {
  unsigned losses = 0;
  unsigned behind = 0;  // of these, such as lost the last writes
};

class PowerLossTest : public testing::TestWithParam<Stage> {
 protected:
  static unsigned losses() { return static_cast<unsigned>(longForm("VELLORA_TEST_LOSSES").value_or(25)); }

  /// The salts of SQLite's logs are the same at each run.
  static void seedSQLite(unsigned seed) {
    sqlite3_initialize();
    sqlite3_test_control(SQLITE_TESTCTRL_PRNG_SEED, seed, nullptr);
  }

  [[nodiscard]] Recorded record() {
    const std::string where = folder.file("recorded");
    std::filesystem::create_directory(where);
    seedSQLite(1);
    CacheLife prepared(plainPath(where), clock);
    GetParam().prepare(prepared);
    CacheLife life(prepared.path(), clock, prepared.diary().latest());
    if (GetParam().isDamagedAtFirst) life.diary().beginDamaged(life.diary().latest());
    const DiskRecorder recorder(where);
    life.recordWith(recorder);
    GetParam().run(life);
    return {recorder.journal(), life.diary()};
  }

  /// Loses the power while that is done, and once more while what is left is used.
  void lose(const Recorded& recorded, unsigned number) {
    std::mt19937 random(number);
    seedSQLite(number + 1);
    const auto moment = random() % (recorded.journal.length() + 1);
    const TemporaryFolder left;
    const auto goneOn =
        goOn(left.file("once"), recorded.journal.afterLoss(moment, random), recorded.diary, moment);
    if (HasFailure()) return;
    const auto next = random() % (goneOn.journal.length() + 1);
    goOn(left.file("twice"), goneOn.journal.afterLoss(next, random), goneOn.diary, next);
    ++tally.losses;
    if (recorded.diary.isBehind(goneOn.diary.first(), moment)) ++tally.behind;
  }

  /// Finds in what is left on the disk what must be there, and uses the cache.
  Recorded goOn(const std::string& where, const DiskImage& left, const Diary& before, std::size_t moment) {
    if (before.wasDestroyed(moment)) expectNothingOfOld(left);
    left.write(where);
    const DiskRecorder recorder(where);
    CacheLife life(GetParam().pathIn(where), clock);
    life.recordWith(recorder);
    life.open();
    if (HasFatalFailure()) return {recorder.journal(), life.diary()};
    const Items first = life.contents();  // which may meet damage, and end on a fresh file
    const Items found = life.contents();
    EXPECT_TRUE(before.allows(first, moment)) << summary(first);
    EXPECT_TRUE(before.allows(found, moment)) << summary(found);
    EXPECT_TRUE(GetParam().isDamagedAtFirst || first == found);
    expectNoOtherFiles(where, life.path());
    life.diary() = Diary(found);
    if (before.damaged()) life.diary().beginDamaged(*before.damaged());
    life.set("blob after", "afterwards");
    life.close();
    EXPECT_FALSE(life.tryToOpen("mallory").hasValue());
    life.open();
    EXPECT_EQ(life.contents(), life.diary().latest());
    return {recorder.journal(), life.diary()};
  }

  /// The names of the items, with the sizes of their texts.
  static std::string summary(const Items& items) {
    std::string all;
    for (const auto& [name, text] : items) all += name + ": " + std::to_string(text.size()) + " bytes; ";
    return all;
  }

  /// Nothing is left of the items that were there at first.
  static void expectNothingOfOld(const DiskImage& left) {
    for (const auto& [name, file] : left.names) {
      const auto bytes = left.files.find(file);
      EXPECT_TRUE(bytes == left.files.end() || bytes->second.find("oooooooo") == std::string::npos) << name;
    }
  }

  /// No sound file was set aside, but perhaps one without bytes beside a log; and no file is there that would
  /// never be found again.
  static void expectNoOtherFiles(const std::string& where, const std::string& path) {
    const std::string aside = path + ".damaged-1";
    const bool isAside = std::filesystem::exists(aside) && std::filesystem::file_size(aside) > 0;
    EXPECT_TRUE(GetParam().isDamagedAtFirst || !isAside);
    for (const auto& name : fileNames(where)) {
      const std::string file = where + "/" + name;
      EXPECT_TRUE(!file.ends_with(".sqlite") || file == path) << name;
    }
  }

  void expectRightAfterLoss(const Recorded& recorded, unsigned number) {
    SCOPED_TRACE("to replay: VELLORA_TEST_LOSS=" + std::to_string(number) + " PowerTests --gtest_filter='*/" +
                 GetParam().name + "'");
    lose(recorded, number);
  }

  TemporaryFolder folder;
  ManualClock clock;
  Tally tally;
};

INSTANTIATE_TEST_SUITE_P(EachStage, PowerLossTest, testing::ValuesIn(stages),
                         [](const auto& stage) { return std::string(stage.param.name); });

TEST_P(PowerLossTest, LosesNothingThatIsDurableAndMixesNothing) {
  const Recorded recorded = record();
  ASSERT_FALSE(HasFailure());
  const auto replayed = longForm("VELLORA_TEST_LOSS");
  if (replayed) return expectRightAfterLoss(recorded, static_cast<unsigned>(*replayed));
  for (unsigned number = 0; number < losses() / GetParam().share && !HasFailure(); ++number)
    expectRightAfterLoss(recorded, number);
  std::cout << "losses of power, " << GetParam().name << ": " << tally.losses << ", at one of "
            << recorded.journal.length() + 1 << " moments, last writes lost " << tally.behind << '\n';
}

}  // namespace
}  // namespace vellora::hostkit::tests
