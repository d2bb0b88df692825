#include "bench/BareClient.h"

#include <curl/curl.h>
#include <simdjson.h>
#include <sqlite3.h>

#include <array>
#include <string_view>

#include "bench/HandWritten.h"

namespace vellora::bench {

namespace {

std::size_t append(const char* bytes, std::size_t, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(bytes, count);
  return count;
}

struct Download {
  explicit Download(const std::string& url) {
    curl_easy_setopt(easy.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(easy.get(), CURLOPT_ACCEPT_ENCODING, "gzip");
    curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, &append);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &body);
  }

  std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy{curl_easy_init(), curl_easy_cleanup};
  std::string body;
};

}  // namespace

struct BareClient::State {
  State(const std::string& server, const std::string& file, Bodies kept)
      : bodies(kept),
        types(server + "/services/data/v50.0/sobjects"),
        themes(server + "/services/data/v50.0/theme") {
    sqlite3* opened = nullptr;
    sqlite3_open(file.c_str(), &opened);
    database.reset(opened);
    run("PRAGMA journal_mode = WAL");
    run("PRAGMA synchronous = NORMAL");
    run("CREATE TABLE list(name TEXT PRIMARY KEY, data BLOB NOT NULL)");
    curl_multi_add_handle(multi.get(), types.easy.get());
    curl_multi_add_handle(multi.get(), themes.easy.get());
  }

  ~State() {
    curl_multi_remove_handle(multi.get(), types.easy.get());
    curl_multi_remove_handle(multi.get(), themes.easy.get());
  }

  bool run(const char* sql) {
    return sqlite3_exec(database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
  }

  bool save(const char* name, std::string_view data) {
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(database.get(), "INSERT OR REPLACE INTO list(name, data) VALUES(?, ?)", -1, &prepared,
                       nullptr);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> insert(prepared, sqlite3_finalize);
    sqlite3_bind_text(prepared, 1, name, -1, SQLITE_STATIC);
    sqlite3_bind_blob(prepared, 2, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
    return sqlite3_step(prepared) == SQLITE_DONE;
  }

  bool take(CURL* easy) {
    Download& download = easy == types.easy.get() ? types : themes;
    auto document = parser.parse(download.body);
    if (document.error()) return false;
    const bool isTypes = &download == &types;
    if (bodies == Bodies::kept && !save(isTypes ? "body of types" : "body of themes", download.body))
      return false;
    const auto text = isTypes ? writtenTypes(typeList = extractedTypes(document.value()))
                              : writtenThemes(themeList = extractedThemes(document.value()));
    return save(isTypes ? "types" : "themes", {text.GetString(), text.GetSize()});
  }

  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi{curl_multi_init(), curl_multi_cleanup};
  const Bodies bodies;
  Download types;
  Download themes;
  std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database{nullptr, sqlite3_close};
  simdjson::dom::parser parser;
  std::vector<SObject> typeList;
  std::vector<ThemeItem> themeList;
};

BareClient::BareClient(const std::string& server, const std::string& file, Bodies bodies)
    : state_(std::make_unique<State>(server, file, bodies)) {}

BareClient::~BareClient() = default;

bool BareClient::load() {
  bool isWell = true;
  int running = 2;
  while (running > 0) {
    curl_multi_perform(state_->multi.get(), &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(state_->multi.get(), &left)) {
      isWell = isWell && message->msg == CURLMSG_DONE && message->data.result == CURLE_OK &&
               state_->take(message->easy_handle);
    }
    if (running > 0) curl_multi_poll(state_->multi.get(), nullptr, 0, 1000, nullptr);
  }
  return isWell && !state_->typeList.empty() && !state_->themeList.empty();
}

}  // namespace vellora::bench
