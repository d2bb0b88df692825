#include <gtest/gtest.h>

#include <random>
#include <string>

#include "apps/vellora/cache/WholeFile.h"
#include "tests/power/DiskJournal.h"
#include "tests/power/DiskRecorder.h"
#include "tests/support/TemporaryFolder.h"

// An archive is written over an earlier one, and the power is lost at some moment of that.

namespace vellora::command {
namespace {

using tests::DiskImage;
using tests::DiskRecorder;

class WholeFileLossTest : public testing::Test {
 protected:
  const tests::TemporaryFolder folder;
  const std::string file = folder.file("archive.json");
  const std::string before = std::string(3000, 'o');
  const std::string after = std::string(5000, 'n');
};

TEST_F(WholeFileLossTest, TheNameLeadsToTheOneArchiveOrTheOther) {
  ASSERT_FALSE(writeWholeFile(file, before, false));
  const DiskRecorder recorder(folder.path());
  ASSERT_FALSE(writeWholeFile(file, after, true));
  const auto& journal = recorder.journal();
  for (unsigned number = 0; number < 400 && !HasFailure(); ++number) {
    SCOPED_TRACE("loss " + std::to_string(number));
    std::mt19937 random(number);
    const DiskImage left = journal.afterLoss(random() % (journal.length() + 1), random);
    ASSERT_TRUE(left.names.contains("archive.json"));
    const std::string& found = left.files.at(left.names.at("archive.json"));
    EXPECT_TRUE(found == before || found == after) << found.size() << " bytes";
  }
}

}  // namespace
}  // namespace vellora::command
