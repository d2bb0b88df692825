#include "apps/vellora/cache/CacheTarget.h"

#include <utility>

#include "apps/vellora/command/CacheFailures.h"
#include "apps/vellora/command/CachePlace.h"
#include "apps/vellora/command/SharedAddress.h"
#include "apps/vellora/command/SharedCache.h"
#include "apps/vellora/command/SharedCacheOptions.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::command {

namespace {

using hostkit::SQLiteCache;
using hostkit::SQLiteCacheContents;
using Cache = std::shared_ptr<CorvaneSDK::Cache>;

class CacheFile final : public CacheTarget {
 public:
  explicit CacheFile(std::string file) : file_(std::move(file)) {}

  [[nodiscard]] std::variant<SQLiteCacheContents, Problem> read(Date present) const override {
    auto contents = SQLiteCacheContents::read(file_, present);
    if (!contents) return Problem{ExitCode::cacheUnusable, contents.error().localizedDescription()};
    return std::move(contents).value();
  }

  [[nodiscard]] std::variant<Cache, Problem> open() const override {
    auto cache = SQLiteCache::open(file_);
    if (!cache) return problemOf(cache.error());
    return Cache(std::move(cache).value());
  }

  [[nodiscard]] std::optional<Problem> destroy() const override {
    const auto error = SQLiteCache::destroy(file_);
    return error ? std::optional(problemOf(*error)) : std::nullopt;
  }

  [[nodiscard]] Problem explained(Problem supposed) const override { return supposed; }
  [[nodiscard]] std::string name() const override { return "the cache file " + file_; }

 private:
  const std::string file_;
};

class CacheOfMany final : public CacheTarget {
 public:
  CacheOfMany(std::string address, std::shared_ptr<SharedCache> cache,
              std::shared_ptr<const CacheFailures> failures)
      : address_(std::move(address)), cache_(std::move(cache)), failures_(std::move(failures)) {}

  [[nodiscard]] std::variant<SQLiteCacheContents, Problem> read(Date /*present*/) const override {
    auto contents = cache_->contents();
    if (!contents) return failed("cannot be read");
    return *std::move(contents);
  }

  [[nodiscard]] std::variant<Cache, Problem> open() const override { return cache_->cache(); }

  [[nodiscard]] std::optional<Problem> destroy() const override {
    return cache_->clear() ? std::nullopt : std::optional(failed("was not deleted whole"));
  }

  [[nodiscard]] Problem explained(Problem supposed) const override {
    supposed.message = failures_->first().value_or(supposed.message);
    return supposed;
  }

  [[nodiscard]] std::string name() const override { return "the cache in " + address_; }

 private:
  [[nodiscard]] Problem failed(const std::string& how) const {
    return explained({ExitCode::cacheUnusable, name() + " " + how});
  }

  const std::string address_;
  const std::shared_ptr<SharedCache> cache_;
  const std::shared_ptr<const CacheFailures> failures_;
};

std::variant<std::unique_ptr<CacheTarget>, Problem> cacheOfMany(const Arguments& arguments,
                                                                const std::string& owner) {
  auto options = sharedCacheOptions(arguments, owner);
  if (auto* problem = std::get_if<Problem>(&options)) return std::move(*problem);
  const auto secrets = std::make_shared<hostkit::KnownSecrets>();
  secrets->note(std::get<0>(options).password);
  const auto failures = std::make_shared<CacheFailures>(secrets);
  std::get<0>(options).told = [failures](const std::string& failure) { failures->note(failure); };
  auto opened = openSharedCache(std::get<0>(std::move(options)));
  if (auto* problem = std::get_if<Problem>(&opened)) return std::move(*problem);
  return std::make_unique<CacheOfMany>(arguments.cacheFile, std::get<0>(std::move(opened)), failures);
}

}  // namespace

std::unique_ptr<CacheTarget> cacheFileTarget(std::string file) {
  return std::make_unique<CacheFile>(std::move(file));
}

std::variant<std::unique_ptr<CacheTarget>, Problem> cacheTarget(const Arguments& arguments,
                                                                const std::string& owner) {
  if (isShared(arguments.cacheFile)) return cacheOfMany(arguments, owner);
  return cacheFileTarget(arguments.cacheFile);
}

}  // namespace vellora::command
