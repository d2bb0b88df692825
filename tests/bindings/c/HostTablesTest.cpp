#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "bindings/c/vellora.h"
#include "testkit/ScriptedServer.h"
#include "tests/bindings/c/CHost.h"

namespace vellora::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testkit::ScriptedServer;

/// A cache as a C host may have one, and what it was asked.
struct CCache {
  struct Row {
    std::map<std::string, std::string> meta;
    std::string key;
    std::string data;
  };

  vellora_cache table() {
    auto table = sized<vellora_cache>();
    table.context = this;
    table.load = [](void* self, const vellora_text* key, vellora_sink* blob) { of(self).load(*key, blob); };
    table.save = [](void* self, const vellora_text* key, const vellora_text* blob) {
      const std::lock_guard lock(of(self).mutex);
      of(self).blobs[stringOf(*key)] = stringOf(*blob);
      return std::int32_t{1};
    };
    table.remove = [](void* self, const vellora_text* key) {
      const std::lock_guard lock(of(self).mutex);
      of(self).blobs.erase(stringOf(*key));
      return std::int32_t{1};
    };
    table.has_table = [](void* self, const vellora_text* name) {
      const std::lock_guard lock(of(self).mutex);
      return static_cast<std::int32_t>(of(self).tables.contains(stringOf(*name)));
    };
    table.create_table = [](void* self, const vellora_text* name, double seconds) {
      const std::lock_guard lock(of(self).mutex);
      of(self).tables[stringOf(*name)];
      of(self).longest.insert(seconds);
      return std::int32_t{1};
    };
    table.rows = [](void* self, const vellora_text* name, const vellora_row_query* query,
                    vellora_sink* rows) { of(self).give(stringOf(*name), *query, rows); };
    table.purge = [](void* self, const vellora_text* name, const vellora_row_query* query) {
      const std::lock_guard lock(of(self).mutex);
      std::erase_if(of(self).tables[stringOf(*name)], [&](const Row& row) { return isMeant(row, *query); });
      return std::int32_t{1};
    };
    table.upsert = [](void* self, const vellora_text* name, const vellora_row* row) {
      of(self).put(stringOf(*name), *row);
      return std::int32_t{1};
    };
    return table;
  }

  static CCache& of(void* self) { return *static_cast<CCache*>(self); }

  static bool isMeant(const Row& row, const vellora_row_query& query) {
    if (query.data_key.bytes != nullptr && stringOf(query.data_key) != row.key) return false;
    return std::all_of(query.meta, query.meta + query.meta_count, [&](const vellora_pair& pair) {
      const auto found = row.meta.find(stringOf(pair.name));
      return found != row.meta.end() && found->second == stringOf(pair.value);
    });
  }

  void load(const vellora_text& key, vellora_sink* blob) {
    const std::lock_guard lock(mutex);
    const auto found = blobs.find(stringOf(key));
    if (found == blobs.end()) return;
    const auto text = textOf(found->second);
    EXPECT_EQ(vellora_give(blob, &text), VELLORA_OK);
    auto row = sized<vellora_row>();
    EXPECT_EQ(vellora_give_row(blob, &row), VELLORA_BAD_ARGUMENT) << "it takes bytes";
  }

  /// Oldest first, as they were written; newest first where no position counts.
  void give(const std::string& name, const vellora_row_query& query, vellora_sink* rows) {
    const std::lock_guard lock(mutex);
    std::vector<Row> meant;
    for (const auto& row : tables[name]) {
      if (isMeant(row, query)) meant.push_back(row);
    }
    if (query.is_oldest_first != 0) {
      EXPECT_LT(query.lower, query.upper) << "no position is meant";
    } else {
      std::reverse(meant.begin(), meant.end());
    }
    for (const auto& row : meant) {
      std::vector<vellora_pair> meta;
      for (const auto& [key, value] : row.meta) meta.push_back({textOf(key), textOf(value)});
      auto given = sized<vellora_row>();
      given.meta = meta.data();
      given.meta_count = meta.size();
      given.data_key = textOf(row.key);
      if (query.wants_data != 0) given.data = textOf(row.data);
      EXPECT_EQ(vellora_give_row(rows, &given), VELLORA_OK);
    }
  }

  void put(const std::string& name, const vellora_row& row) {
    const std::lock_guard lock(mutex);
    Row put{{}, std::to_string(++written), stringOf(row.data)};
    for (std::size_t i = 0; i < row.meta_count; ++i) {
      put.meta[stringOf(row.meta[i].name)] = stringOf(row.meta[i].value);
    }
    std::erase_if(tables[name], [&](const Row& earlier) { return earlier.meta == put.meta; });
    tables[name].push_back(put);
  }

  std::mutex mutex;  // guards what follows
  std::map<std::string, std::string> blobs;
  std::map<std::string, std::vector<Row>> tables;
  std::set<double> longest;
  int written = 0;
};

using CHostTablesTest = CCatalogFixture;

TEST_F(CHostTablesTest, ACacheOfTheHostsAnswersWithoutTheNetwork) {
  CCache cache;
  const auto table = cache.table();
  auto how = options();
  how.cache = &table;
  open(how);
  wait(ask(VELLORA_RECORDS, {"001000000000009"}));
  catalog.reset();
  network.awaitDestruction();
  EXPECT_THAT(cache.longest, ElementsAre(7 * 24 * 3600));

  CNetwork silent;
  const auto silentTable = silent.table();
  how.network = &silentTable;
  open(how);
  const auto answer = wait(ask(VELLORA_RECORDS, {"001000000000009"}));
  EXPECT_EQ(summaryOf(answer).found, 1U);
  EXPECT_THAT(silent.requests(), IsEmpty());

  expectFine(vellora_forget(catalog.get()));
  for (const auto& [name, rows] : cache.tables) EXPECT_EQ(rows.size(), 0U) << name;
  catalog.reset();
  silent.awaitDestruction();  // nothing looks into the cache any more
}

struct CLog {
  std::mutex mutex;  // guards what follows
  std::vector<std::string> errors;
  std::vector<std::string> others;
};

/// A table to open a catalogue with, whose lines go there.
vellora_logger loggerTo(const std::shared_ptr<CLog>& log) {
  auto table = sized<vellora_logger>();
  table.context = new std::shared_ptr<CLog>(log);
  table.destroy = [](void* context) { delete static_cast<std::shared_ptr<CLog>*>(context); };
  table.log = [](void* context, std::int32_t isError, const vellora_text* line) {
    auto& to = **static_cast<std::shared_ptr<CLog>*>(context);
    const std::lock_guard lock(to.mutex);
    (isError != 0 ? to.errors : to.others).push_back(stringOf(*line));
  };
  return table;
}

TEST_F(CHostTablesTest, TheTokenIsInNoLineBeforeAnythingIsSent) {
  const auto log = std::make_shared<CLog>();
  const auto logger = loggerTo(log);
  auto token = sized<vellora_token_source>();
  token.token = [](void*, const vellora_text*, vellora_sink* sink) {
    const vellora_text text = textOf("abc-secret99");
    EXPECT_EQ(vellora_give(sink, &text), VELLORA_OK);
  };
  auto how = sized<vellora_options>();
  how.server = "https://records.example";
  how.token = &token;
  how.logger = &logger;
  how.loads_late = 1;
  open(how);
  auto offline = sized<vellora_ask_options>();
  offline.source = VELLORA_CACHE_ONLY;
  const vellora_text name = textOf("abc-secret99");
  vellora_question* question = nullptr;
  expectFine(vellora_ask(catalog.get(), VELLORA_TYPES, &name, 1, &offline, nullptr, &question));
  wait(OwnedQuestion(question));
  const std::lock_guard lock(log->mutex);
  EXPECT_THAT(log->others, ElementsAre("sObjectForName(_:), name: [token]"));
}

TEST_F(CHostTablesTest, ALoggerOfTheHostsGetsTheLines) {
  const auto log = std::make_shared<CLog>();
  const auto table = loggerTo(log);
  network.answer(typesUrl, "no JSON");
  auto how = options();
  how.logger = &table;
  open(how);
  wait(ask(VELLORA_TYPES, {"Account"}));
  const std::lock_guard lock(log->mutex);
  EXPECT_THAT(log->errors, Contains(HasSubstr("SObjects")));
  EXPECT_THAT(log->others, testing::Not(IsEmpty()));
}

TEST_F(CHostTablesTest, ATokenOfTheHostsGoesToTheServerAndIsRenewedWhenItIsRefused) {
  ScriptedServer server;
  server.replyBy([](const ScriptedServer::Request& request) {
    if (request.text.find("Bearer second") == std::string::npos)
      return ScriptedServer::http("401 Unauthorized", "[]");
    return ScriptedServer::http("200 OK", R"([{"objectType":"A","searchColumns":[]}])");
  });
  auto token = sized<vellora_token_source>();
  token.token = [](void*, const vellora_text* refused, vellora_sink* sink) {
    const vellora_text text = refused == nullptr ? textOf("first") : textOf("second");
    EXPECT_EQ(refused != nullptr ? stringOf(*refused) : "first", "first");
    EXPECT_EQ(vellora_give(sink, &text), VELLORA_OK);
  };
  auto how = sized<vellora_options>();
  const std::string address = server.url();
  how.server = address.c_str();
  how.token = &token;
  how.loads_late = 1;
  open(how);
  EXPECT_EQ(summaryOf(wait(ask(VELLORA_SEARCH_COLUMNS, {"A"}))).found, 1U);
}

TEST_F(CHostTablesTest, AnAbsentTextIsNoToken) {
  ScriptedServer server;
  server.replyBy([](const ScriptedServer::Request& request) {
    EXPECT_EQ(request.text.find("Authorization"), std::string::npos);
    return ScriptedServer::http("200 OK", R"([{"objectType":"A","searchColumns":[]}])");
  });
  auto token = sized<vellora_token_source>();
  token.token = [](void*, const vellora_text*, vellora_sink* sink) {
    const vellora_text first = textOf("first");
    const vellora_text absent{nullptr, 0};
    EXPECT_EQ(vellora_give(sink, &first), VELLORA_OK);
    EXPECT_EQ(vellora_give(sink, &absent), VELLORA_OK) << "it takes the first one back";
  };
  auto how = sized<vellora_options>();
  const std::string address = server.url();
  how.server = address.c_str();
  how.token = &token;
  how.loads_late = 1;
  open(how);
  EXPECT_EQ(summaryOf(wait(ask(VELLORA_SEARCH_COLUMNS, {"A"}))).found, 1U);
}

TEST_F(CHostTablesTest, ANetworkThatWaitsForAnAnswerInsideItsCallIsToldSo) {
  struct Waiting {
    vellora_catalog* catalog;
    std::string end;
  } waiting{nullptr, ""};
  auto table = sized<vellora_network>();
  table.context = &waiting;
  table.send = [](void* context, const vellora_request_info* info, vellora_request* request) {
    auto& self = *static_cast<Waiting*>(context);
    if (stringOf(info->url).ends_with("=A")) {
      const vellora_text other = textOf("B");
      vellora_question* question = nullptr;
      vellora_answer* answer = nullptr;
      expectFine(vellora_ask(self.catalog, VELLORA_SEARCH_COLUMNS, &other, 1, nullptr, nullptr, &question));
      expectFine(vellora_wait(question, &answer));
      self.end = std::to_string(summaryOf(OwnedAnswer(answer)).end);
      vellora_question_free(question);
    }
    auto response = sized<vellora_response>();
    response.error = "no signal";
    EXPECT_EQ(vellora_reply(request, &response), VELLORA_OK);
  };
  auto how = options();
  how.network = &table;
  open(how);
  waiting.catalog = catalog.get();
  wait(ask(VELLORA_SEARCH_COLUMNS, {"A"}));
  catalog.reset();
  EXPECT_EQ(waiting.end, std::to_string(VELLORA_FAILED));
}

TEST_F(CHostTablesTest, AFailureThatMayPassIsTriedAgain) {
  auto how = options();
  how.attempts = 2;
  open(how);
  const auto question = ask(VELLORA_SEARCH_COLUMNS, {"A"});
  const std::string url = "/services/data/v50.0/search/layout?q=A";
  auto response = sized<vellora_response>();
  response.error = "busy";
  response.may_retry = 1;
  EXPECT_EQ(vellora_reply(network.takeRequest(url), &response), VELLORA_OK);
  response = sized<vellora_response>();
  const std::string body = R"([{"objectType":"A","searchColumns":[]}])";
  response.body = textOf(body);
  EXPECT_EQ(vellora_reply(network.takeRequest(url), &response), VELLORA_OK);
  EXPECT_EQ(summaryOf(wait(question)).found, 1U);
}

TEST_F(CHostTablesTest, AFailureSaysWhatTheHostSaid) {
  open();
  const auto question = ask(VELLORA_SEARCH_COLUMNS, {"A"});
  auto response = sized<vellora_response>();
  response.error = "no signal";
  EXPECT_EQ(vellora_reply(network.takeRequest("/services/data/v50.0/search/layout?q=A"), &response),
            VELLORA_OK);
  const auto answer = wait(question);
  auto missing = sized<vellora_missing>();
  expectFine(vellora_answer_missing(answer.get(), 0, &missing));
  EXPECT_EQ(missing.why, VELLORA_NOT_ASKABLE);
  EXPECT_THAT(stringOf(missing.text), HasSubstr("no signal"));
}

}  // namespace
}  // namespace vellora::tests
