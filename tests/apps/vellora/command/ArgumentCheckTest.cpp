#include "apps/vellora/command/ArgumentCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::Optional;
using Command = Arguments::Command;

class ArgumentCheckTest : public testing::Test {
 protected:
  ArgumentCheckTest() {
    arguments.command = Command::names;
    arguments.keys = {"Account"};
    arguments.server = "http://h";
  }

  Arguments arguments;
};

TEST_F(ArgumentCheckTest, WhatMakesSenseIsNotComplainedOf) {
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  arguments.output.format = Format::csv;
  arguments.output.columns = {"label"};
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
}

TEST_F(ArgumentCheckTest, OfflineNeedsNoServerButThenACacheFile) {
  arguments.server.clear();
  EXPECT_EQ(complaintAbout(arguments), "no server: give --server URL or set VELLORA_SERVER");
  arguments.source = Source::cacheOnly;
  EXPECT_EQ(complaintAbout(arguments),
            "no cache file: give --cache FILE, or the --server URL whose default cache it is");
  arguments.cacheFile = "c";
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  arguments.command = Command::explore;
  EXPECT_EQ(complaintAbout(arguments), "no server: give --server URL or set VELLORA_SERVER");
}

TEST_F(ArgumentCheckTest, ACacheInARedisIsNotKnownWithoutItsServer) {
  const std::string complaint =
      "a Redis keeps a cache for each server and token: give --server URL to say which, also with --offline";
  arguments.server.clear();
  arguments.cacheFile = "redis://h";
  arguments.source = Source::cacheOnly;
  EXPECT_EQ(complaintAbout(arguments), complaint);
  arguments.command = Command::cache;
  EXPECT_EQ(complaintAbout(arguments), complaint);
  arguments.server = "http://h";
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
}

TEST_F(ArgumentCheckTest, AnAddressOfSomethingElseIsNoCacheAndNotRepeated) {
  arguments.cacheFile = "redis+tls://:secret@h";
  EXPECT_EQ(complaintAbout(arguments),
            "--cache takes a file, or the address of a Redis: redis://, rediss:// or redis+unix://");
}

TEST_F(ArgumentCheckTest, ThePasswordOfTheCacheHasStandardInputForItself) {
  arguments.cachePasswordFile = "-";
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  arguments.keys = {"-"};
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("standard input gives one thing only")));
  arguments.keys = {"Account"};
  arguments.tokenFile = "-";
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("standard input gives one thing only")));
  arguments.tokenFile.reset();
  arguments.command = Command::cache;
  arguments.cache.action = CacheArguments::Action::importFrom;
  EXPECT_THAT(complaintAbout(arguments),
              Optional(HasSubstr("cannot give both the password and the entries")));
}

TEST_F(ArgumentCheckTest, WhatAsksServersIsNotOffline) {
  arguments.source = Source::cacheOnly;
  for (const auto command : {Command::watch, Command::diff}) {
    arguments.command = command;
    EXPECT_EQ(complaintAbout(arguments), "this command asks servers: leave --offline out");
  }
}

TEST_F(ArgumentCheckTest, TheLinesOfWatchAreJsonLines) {
  arguments.command = Command::watch;
  arguments.output.format = Format::jsonl;
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  arguments.output.format = Format::csv;
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("prints a table or JSON")));
}

TEST_F(ArgumentCheckTest, DifferencesAreRows) {
  arguments.command = Command::diff;
  for (const auto format : {Format::csv, Format::tsv, Format::jsonl, Format::table}) {
    arguments.output.format = format;
    arguments.output.columns = {"name"};
    EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  }
}

TEST_F(ArgumentCheckTest, OfEveryFileAllIsDeletedOrAllThatIsExpiredAndNoEntryByItsName) {
  arguments.command = Command::cache;
  arguments.server.clear();
  arguments.cache.action = CacheArguments::Action::purge;
  arguments.cache.all = true;
  arguments.cache.everyFile = true;
  arguments.cache.expired = true;
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  arguments.cache.expired = false;
  arguments.cache.entries = {"type/Account"};
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("entries are deleted in one file")));
}

TEST_F(ArgumentCheckTest, JsonAndAnotherFormatContradictEachOther) {
  arguments.json = true;
  arguments.output.format = Format::json;
  EXPECT_EQ(complaintAbout(arguments), "--json and --output contradict each other: give one");
}

TEST_F(ArgumentCheckTest, ColumnsAreThoseOfRows) {
  arguments.output.columns = {"label"};
  arguments.json = true;
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("--columns chooses among those of table, csv")));
  arguments.json = false;
  arguments.command = Command::status;
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("--columns chooses among those of table, csv")));
}

TEST_F(ArgumentCheckTest, WhatIsNoListOfRowsIsATableOrJson) {
  arguments.cacheFile = "c";
  for (const auto command : {Command::status, Command::cache}) {
    arguments.command = command;
    arguments.cache.action = CacheArguments::Action::verify;
    arguments.output.format = Format::csv;
    EXPECT_EQ(complaintAbout(arguments),
              "this command prints a table or JSON: give --output table or --output json");
    arguments.output.format = Format::json;
    EXPECT_EQ(complaintAbout(arguments), std::nullopt);
  }
  arguments.cache.action = CacheArguments::Action::list;
  arguments.output.format = Format::csv;
  EXPECT_EQ(complaintAbout(arguments), std::nullopt) << "cache ls is one";
}

TEST_F(ArgumentCheckTest, ADashIsAWordForListAndStandardInputForOthers) {
  arguments.keys = {"-"};
  arguments.tokenFile = "-";
  EXPECT_THAT(complaintAbout(arguments), Optional(HasSubstr("cannot give both")));
  arguments.command = Command::list;
  EXPECT_EQ(complaintAbout(arguments), std::nullopt);
}

}  // namespace
}  // namespace vellora::command
