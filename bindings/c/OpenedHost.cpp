#include "bindings/c/OpenedHost.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "bindings/c/Border.h"
#include "bindings/c/ForeignCache.h"
#include "bindings/c/ForeignLogger.h"
#include "bindings/c/ForeignNetwork.h"
#include "bindings/c/ForeignTable.h"
#include "bindings/c/Sink.h"
#include "bindings/c/Structs.h"
#include "bindings/c/Texts.h"
#include "hostkit/StandardPlatformAPI.h"

namespace vellora::capi {

namespace {

using hostkit::StandardPlatformAPI;
using Token = ForeignTable<vellora_token_source>;

/// A copy of a table that is there. Throws a `Refusal` where a function lacks that it needs.
template <class Table, class... Functions>
std::shared_ptr<ForeignTable<Table>> tableOf(const Table* given, const char* what, Functions... functions) {
  if (given == nullptr) return nullptr;
  const Table table = copied(*given, what);
  if (((table.*functions == nullptr) || ...))
    throw Refusal(VELLORA_BAD_ARGUMENT, std::string(what) + " lacks a function.");
  return std::make_shared<ForeignTable<Table>>(table);
}

std::optional<std::string> askedFor(const Token& source, const std::string* refused) {
  vellora_sink token;
  const vellora_text shownRefused = refused != nullptr ? shown(*refused) : vellora_text{nullptr, 0};
  source.call(source->token, refused != nullptr ? &shownRefused : nullptr, &token);
  return std::move(token.bytes);
}

}  // namespace

struct OpenedHost::Tables {
  explicit Tables(const vellora_options& options)
      : network(tableOf(options.network, "The network", &vellora_network::send)),
        token(tableOf(options.token, "The token source", &vellora_token_source::token)),
        cache(tableOf(options.cache, "The cache", &vellora_cache::load, &vellora_cache::save,
                      &vellora_cache::remove, &vellora_cache::has_table, &vellora_cache::create_table,
                      &vellora_cache::rows, &vellora_cache::purge, &vellora_cache::upsert)),
        logger(tableOf(options.logger, "The logger", &vellora_logger::log)) {}

  [[nodiscard]] std::shared_ptr<CorvaneSDK::PlatformAPI> host(const vellora_options& options) const {
    StandardPlatformAPI::Options made;
    made.server = textOr(options.server, "", "The server");
    made.allowTokenOverPlainHttp = options.allow_token_over_plain_http != 0;
    made.caFile = optionalText(options.ca_file, "The file of authorities");
    made.cacheFile = optionalText(options.cache_file, "The cache file");
    made.cacheOwner = optionalText(options.cache_owner, "The owner of the cache");
    if (token) {
      made.token = [source = token] { return askedFor(*source, nullptr); };
      made.renewedToken = [source = token](const std::string& refused) {
        return askedFor(*source, &refused);
      };
    }
    if (network) made.network = std::make_shared<ForeignNetwork>(network);
    if (cache) made.cache = std::make_shared<ForeignCache>(cache);
    if (logger) made.logger = std::make_shared<ForeignLogger>(logger);
    const auto api = StandardPlatformAPI::make(std::move(made));
    if (!api) throw Refusal(VELLORA_NO_HOST, api.error().localizedDescription());
    return api.value();
  }

  const std::shared_ptr<ForeignNetwork::Table> network;
  const std::shared_ptr<Token> token;
  const std::shared_ptr<ForeignCache::Functions> cache;
  const std::shared_ptr<ForeignLogger::Table> logger;
};

OpenedHost::OpenedHost(const vellora_options& options)
    : tables_(std::make_unique<Tables>(options)), api_(tables_->host(options)) {}

OpenedHost::~OpenedHost() = default;

void OpenedHost::keep() {
  if (tables_->network) tables_->network->keep();
  if (tables_->token) tables_->token->keep();
  if (tables_->cache) tables_->cache->keep();
  if (tables_->logger) tables_->logger->keep();
}

CatalogOptions catalogOptions(const vellora_options& options) {
  CatalogOptions made;
  made.theme = textOr(options.theme, made.theme.c_str(), "The theme");
  made.cacheTimeout = std::chrono::duration<double>(
      secondsOr(options.cache_timeout_seconds, made.cacheTimeout.count(), "The time-out of the cache"));
  if (options.attempts < 0) throw Refusal(VELLORA_BAD_ARGUMENT, "The number of attempts is below 0.");
  if (options.attempts > 0) made.retry.attempts = options.attempts;
  made.loadsAtOnce = options.loads_late == 0;
  return made;
}

}  // namespace vellora::capi
