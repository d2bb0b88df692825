#include "hostkit/cache/ArchiveChecksum.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/hostkit/cache/SampleArchive.h"

namespace vellora::hostkit::tests {
namespace {

TEST(ArchiveChecksumTest, IsTheSameOnEveryMachine) {
  EXPECT_EQ(archiveChecksum({}), 0);
  EXPECT_EQ(archiveChecksum({.blobs = {{.key = "a", .data = Data("1")}}, .tables = {}}), 307592914);
}

TEST(ArchiveChecksumTest, TellsEveryChange) {
  const auto original = archiveChecksum(sampleArchive());
  const auto after = [](auto change) {
    CacheArchive archive = sampleArchive();
    change(archive);
    return archiveChecksum(archive);
  };
  EXPECT_EQ(after([](auto&) {}), original);
  EXPECT_NE(after([](auto& archive) { archive.blobs[0].key += "x"; }), original);
  EXPECT_NE(after([](auto& archive) { archive.blobs[1].data = Data("x"); }), original);
  EXPECT_NE(after([](auto& archive) { std::swap(archive.blobs[0], archive.blobs[1]); }), original);
  EXPECT_NE(after([](auto& archive) { archive.tables[0].key += "x"; }), original);
  EXPECT_NE(after([](auto& archive) { archive.tables.erase(archive.tables.begin()); }), original);
  EXPECT_NE(after([](auto& archive) { archive.tables[1].rows[0].meta["kind"] = "x"; }), original);
  EXPECT_NE(after([](auto& archive) { archive.tables[1].rows[0].dataKey = ""; }), original);
  EXPECT_NE(after([](auto& archive) { archive.tables[1].rows[1].data = Data("x"); }), original);
}

}  // namespace
}  // namespace vellora::hostkit::tests
