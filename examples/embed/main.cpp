// What most programs begin with: a server's address, a token, a cache file of that server's own.

#include <cstdlib>
#include <iostream>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "vellora/Catalog/Catalog.h"

int main(int argc, char** argv) {
  if (argc != 3) return std::cerr << "usage: embed SERVER RECORD-ID\n", 2;
  // [embed]
  // One file for each server and user.
  const auto cacheFile = vellora::hostkit::ownCacheFile("caches", "embed", argv[1]);
  if (!cacheFile) return std::cerr << cacheFile.error().localizedDescription() << '\n', 1;
  vellora::hostkit::StandardPlatformAPI::Options options{.server = argv[1], .cacheFile = cacheFile.value()};
  if (const char* token = std::getenv("RECORDS_TOKEN")) options.token = [token] { return token; };
  const auto host = vellora::hostkit::StandardPlatformAPI::make(options);
  // [embed]
  if (!host) return std::cerr << host.error().localizedDescription() << '\n', 1;
  const vellora::Catalog catalog(host.value());
  const auto answer = catalog.records({argv[2]}).get();
  for (auto& [id, info] : answer.found) std::cout << info.typePresentationInfo.label.value_or(id) << '\n';
  for (auto& [id, missing] : answer.missing) std::cout << id << ": " << missing.text() << '\n';
}
