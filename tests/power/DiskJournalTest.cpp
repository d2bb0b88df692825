#include "tests/power/DiskJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <string>

namespace vellora::tests {
namespace {

using testing::UnorderedElementsAre;

/// What `ask` tells of all that a loss at the journal's end may leave.
std::set<std::string> possible(const DiskJournal& journal,
                               const std::function<std::string(DiskImage&)>& ask) {
  std::set<std::string> answers;
  std::mt19937 random(1);
  for (int i = 0; i < 500; ++i) {
    DiskImage image = journal.afterLoss(journal.length(), random);
    answers.insert(ask(image));
  }
  return answers;
}

std::string namesIn(DiskImage& image) {
  std::string all;
  for (const auto& [name, file] : image.names) all += name + std::to_string(file) + " ";
  return all;
}

DiskJournal ofOneFile(const std::string& bytes) {
  return DiskJournal({.names = {{"a", 1}}, .files = {{1, bytes}}});
}

TEST(DiskJournalTest, NamesThatWereNotSyncedMayBeLostInAnyOrder) {
  DiskJournal journal = ofOneFile("");
  journal.create("b", 2);
  journal.remove("a");
  EXPECT_THAT(possible(journal, namesIn), UnorderedElementsAre("", "a1 ", "a1 b2 ", "b2 "));
  journal.syncNames();
  EXPECT_THAT(possible(journal, namesIn), UnorderedElementsAre("b2 "));
}

TEST(DiskJournalTest, ARenamingIsLostAsAWhole) {
  DiskJournal journal = ofOneFile("");
  journal.rename("a", "b", 1);
  EXPECT_THAT(possible(journal, namesIn), UnorderedElementsAre("a1 ", "b1 "));
}

TEST(DiskJournalTest, ASyncOfAFileKeepsItsContentAndNotItsName) {
  DiskJournal journal;
  journal.create("a", 1);
  journal.write(1, 0, "x");
  journal.sync(1);
  EXPECT_THAT(possible(journal, namesIn), UnorderedElementsAre("", "a1 "));
  EXPECT_THAT(possible(journal, [](DiskImage& image) { return image.files[1]; }), UnorderedElementsAre("x"));
}

TEST(DiskJournalTest, ASyncKeepsNothingThatIsWrittenAfterIt) {
  DiskJournal journal = ofOneFile("old");
  journal.write(1, 0, "new");
  journal.sync(1);
  journal.resize(1, 1);
  EXPECT_THAT(possible(journal, [](DiskImage& image) { return image.files[1]; }),
              UnorderedElementsAre("new", "n"));
}

TEST(DiskJournalTest, SectorsAreLostEachAloneAndTornAtTimes) {
  const std::string sector(DiskJournal::sectorSize, 'o');
  DiskJournal journal = ofOneFile(sector + sector);
  journal.write(1, 0, std::string(2 * DiskJournal::sectorSize, 'n'));
  const auto left = possible(journal, [](DiskImage& image) { return image.files[1]; });
  const std::string renewed(DiskJournal::sectorSize, 'n');
  EXPECT_TRUE(left.contains(sector + sector));
  EXPECT_TRUE(left.contains(sector + renewed));
  EXPECT_TRUE(left.contains(renewed + sector));
  EXPECT_TRUE(left.contains(renewed + renewed));
  EXPECT_GT(left.size(), 4U) << "none was torn";
}

TEST(DiskJournalTest, WhatAFileGrewByMayBeZerosOrNotThere) {
  DiskJournal journal = ofOneFile("");
  journal.write(1, 0, "xx");
  EXPECT_THAT(possible(journal, [](DiskImage& image) { return image.files[1]; }),
              testing::IsSupersetOf({std::string(), std::string(2, '\0'), std::string("xx")}));
}

TEST(DiskJournalTest, TheSameSeedLeavesTheSame) {
  DiskJournal journal = ofOneFile(std::string(5000, 'o'));
  journal.write(1, 0, std::string(5000, 'n'));
  std::mt19937 one(7);
  std::mt19937 other(7);
  EXPECT_EQ(journal.afterLoss(1, one), journal.afterLoss(1, other));
}

}  // namespace
}  // namespace vellora::tests
