#include "tests/hostkit/cache/StoredForms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/hostkit/cache/sqlite/SQLiteFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::hostkit::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What machines of each kind have written: a folder for each. scripts/portability writes them anew.
const std::filesystem::path stored = STORED_FORMS;

class StoredFormsOf : public testing::TestWithParam<std::string> {};

TEST_P(StoredFormsOf, AreReadHere) {
  EXPECT_THAT(storedForms::differencesIn(stored / GetParam()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(StoredForms, StoredFormsOf, testing::ValuesIn(fileNames(stored)),
                         [](const auto& kind) { return kind.param; });

TEST(StoredFormsTest, EveryKindOfMachineHasWrittenThem) {
  EXPECT_THAT(fileNames(stored), ElementsAre("amd64", "arm64", "i386", "s390x"));
}

TEST(StoredFormsTest, WhatIsWrittenHereIsReadHere) {
  const vellora::tests::TemporaryFolder folder;
  EXPECT_THAT(storedForms::write(folder.path()), IsEmpty());
  EXPECT_THAT(storedForms::differencesIn(folder.path()), IsEmpty());
}

TEST(StoredFormsTest, AnyFileThatIsAnotherOneIsFound) {
  for (const std::string name : storedForms::names) {
    const vellora::tests::TemporaryFolder folder;
    ASSERT_THAT(storedForms::write(folder.path()), IsEmpty());
    std::filesystem::resize_file(folder.file(name), std::filesystem::file_size(folder.file(name)) - 1);
    EXPECT_THAT(storedForms::differencesIn(folder.path()), ElementsAre(testing::StartsWith(name + ": ")))
        << name;
  }
}

}  // namespace
}  // namespace vellora::hostkit::tests
