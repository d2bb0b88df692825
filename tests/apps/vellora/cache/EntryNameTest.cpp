#include "apps/vellora/cache/EntryName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

CacheListing entry(const std::string& name) {
  CacheListing listing;
  listing.entry = name;
  listing.key = name;
  return listing;
}

TEST(EntryNameTest, EachKindOfEntryHasANameThatAPersonCanType) {
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/cacheEntryType=sObjects"), "types");
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/cacheEntryType=sObject,name=Account"), "type/Account");
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/cacheEntryType=keyPrefixes"), "prefixes");
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/cacheEntryType=keyPrefix,keyPrefix=001"), "prefix/001");
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/cacheEntryType=listView,id=00B"), "list-view/00B");
  EXPECT_EQ(shortName("OPS_ThemesCacheTable/cacheEntryType=themes"), "themes");
  EXPECT_EQ(shortName("OPS_ThemesCacheTable/cacheEntryType=theme,name=Account"), "theme/Account");
  EXPECT_EQ(shortName("OPS_Layout_Account"), "layout/Account");
  EXPECT_EQ(shortName("OPS_CompactLayout_Account"), "compact-layout/Account");
  EXPECT_EQ(shortName("ops.sobject.fetch.timestamp"), "types-fetched");
  EXPECT_EQ(shortName("ops.theme.fetch.timestamp"), "themes-fetched");
  EXPECT_EQ(shortName("OPS_LayoutNames"), "layout-names");
  EXPECT_EQ(shortName("OPS_CompactLayoutNames"), "compact-layout-names");
}

TEST(EntryNameTest, AKeptBodyIsNamedByTheFirstDigitsOfItsRequest) {
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/bytes=17,cacheEntryType=keptBody,request=0123456789abcdef0123"),
            "kept-body/0123456789ab");
  EXPECT_EQ(shortName("OPS_SObjectsCacheTable/cacheEntryType=keptBodyKey"), "kept-body-key");
  for (const char* const other : {"OPS_ThemesCacheTable/bytes=17,cacheEntryType=keptBody,request=01",
                                  "OPS_SObjectsCacheTable/bytes=17,cacheEntryType=mine,request=01"}) {
    EXPECT_EQ(shortName(other), other);
  }
}

TEST(EntryNameTest, WhatTheLibraryDidNotWriteKeepsItsName) {
  for (const char* const name : {"mine", "OPS_Layout_", "OPS_SObjectsCacheTable/1", ""})
    EXPECT_EQ(shortName(name), name);
}

TEST(EntryNameTest, AnEntryIsFoundByEitherName) {
  const std::vector<CacheListing> listings = {entry("OPS_Layout_Account"), entry("OPS_Layout_Contact")};
  EXPECT_THAT(entriesNamed("OPS_Layout_Account", listings),
              ElementsAre(Field(&CacheListing::entry, "OPS_Layout_Account")));
  EXPECT_THAT(entriesNamed("layout/Contact", listings),
              ElementsAre(Field(&CacheListing::entry, "OPS_Layout_Contact")));
  EXPECT_THAT(entriesNamed("layout/Lead", listings), IsEmpty());
}

TEST(EntryNameTest, AnAppsEntryIsNotTakenForOneOfTheLibraryOfThatName) {
  const std::vector<CacheListing> listings = {entry("OPS_Layout_Account"), entry("layout/Account")};
  EXPECT_THAT(entriesNamed("layout/Account", listings),
              ElementsAre(Field(&CacheListing::entry, "layout/Account")));
}

}  // namespace
}  // namespace vellora::command
