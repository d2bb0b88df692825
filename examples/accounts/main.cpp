// An app with several servers and users. Each that is signed in has a token, a cache and a catalogue of its
// own. The program shows a record's type to each of them, in light and in dark, then signs them out.
//
//     accounts RECORD-ID SERVER USER TOKEN-FILE [SERVER USER TOKEN-FILE]…

#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/sqlite/OwnCacheFile.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Host/Network.h"

using namespace vellora;
using namespace std::chrono_literals;

namespace {

// [tokens]
/// One user's token. Several threads ask for it.
class Tokens {
 public:
  explicit Tokens(std::string file) : file_(std::move(file)), current_(read()) {}

  std::optional<std::string> current() {
    const std::lock_guard lock(mutex_);
    return current_;
  }

  /// Several requests may be refused at once: the first of them renews, the others get what that gave.
  std::optional<std::string> renewed(const std::string& refused) {
    const std::lock_guard lock(mutex_);
    if (current_ == refused) current_ = read();
    return current_;
  }

 private:
  /// An app asks its sign-in service here.
  std::optional<std::string> read() const {
    std::ifstream text(file_);
    std::string token;
    return text >> token ? std::optional(token) : std::nullopt;
  }

  const std::string file_;
  std::mutex mutex_;
  std::optional<std::string> current_;  // under mutex_
};
// [tokens]

// [language]
/// Asks for the labels in one language, of a server that goes by the header.
class InLanguage final : public CorvaneSDK::Network {
 public:
  InLanguage(std::shared_ptr<CorvaneSDK::Network> next, std::string language)
      : next_(std::move(next)), language_(std::move(language)) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    URLRequest changed = request.base();
    changed.headers["Accept-Language"] = language_;
    next_->sendRequest(CorvaneSDK::NetRequest(std::move(changed)), std::move(completion));
  }

 private:
  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::string language_;
};

std::shared_ptr<CorvaneSDK::PlatformAPI> inLanguage(const std::string& language,
                                                    const std::shared_ptr<CorvaneSDK::PlatformAPI>& host) {
  return std::make_shared<hostkit::StandardPlatformAPI>(
      std::make_shared<InLanguage>(host->network(), language), host->cache(), host->logger());
}
// [language]

// [account]
/// A user who is signed in at a server.
class Account {
 public:
  static Result<std::unique_ptr<Account>> signIn(const std::string& server, const std::string& user,
                                                 const std::shared_ptr<Tokens>& tokens) {
    const std::string owner = server + " " + user;  // not the token, which changes
    const auto cacheFile = hostkit::ownCacheFile("caches", "accounts", owner);
    if (!cacheFile) return cacheFile.error();
    hostkit::StandardPlatformAPI::Options options{.server = server};
    options.token = [tokens] { return tokens->current(); };
    options.renewedToken = [tokens](const std::string& refused) { return tokens->renewed(refused); };
    options.cacheFile = cacheFile.value();
    options.cacheOwner = owner;
    const auto host = hostkit::StandardPlatformAPI::make(options);
    if (!host) return host.error();
    return std::unique_ptr<Account>(new Account(cacheFile.value(), inLanguage("en", host.value())));
  }

  [[nodiscard]] const Catalog& catalog() const { return *catalog_; }

  /// Leaves nothing of the user on the disk. The error says why that cannot be done yet: call it again then.
  std::optional<Error> signOut() {
    catalog_.reset();  // no callback runs any more
    return hostkit::SQLiteCache::destroy(cacheFile_);
  }

 private:
  Account(std::string cacheFile, const std::shared_ptr<CorvaneSDK::PlatformAPI>& host)
      : cacheFile_(std::move(cacheFile)), catalog_(std::make_unique<Catalog>(host)) {}

  const std::string cacheFile_;
  std::unique_ptr<Catalog> catalog_;
};
// [account]

// [theme]
void showInBothThemes(const Catalog& catalog, const std::string& id) {
  for (const auto* theme : {"light", "dark"}) {
    const auto answer = catalog.records({id}, {.deadline = 5s, .theme = theme}).get();
    for (const auto& [key, info] : answer.found) {
      const PresentationInfo& type = info.typePresentationInfo;
      std::cout << type.label.value_or("") << " in " << theme << ": " << type.color.value_or("none") << '\n';
    }
    for (const auto& [key, missing] : answer.missing) std::cout << key << ": " << missing.text() << '\n';
  }
}
// [theme]

// [sign-out]
/// What was just being read has the file open for another moment.
bool isSignedOut(Account& account) {
  const auto end = std::chrono::steady_clock::now() + 10s;
  while (const auto failure = account.signOut()) {
    if (std::chrono::steady_clock::now() > end)
      return std::cerr << failure->localizedDescription() << '\n', false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}
// [sign-out]

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5 || argc % 3 != 2) {
    return std::cerr << "usage: accounts RECORD-ID SERVER USER TOKEN-FILE [SERVER USER TOKEN-FILE]…\n", 2;
  }
  std::vector<std::unique_ptr<Account>> accounts;
  for (int i = 2; i < argc; i += 3) {
    auto account = Account::signIn(argv[i], argv[i + 1], std::make_shared<Tokens>(argv[i + 2]));
    if (!account) return std::cerr << account.error().localizedDescription() << '\n', 1;
    accounts.push_back(std::move(account).value());
  }
  for (const auto& account : accounts) showInBothThemes(account->catalog(), argv[1]);
  bool allAreSignedOut = true;
  for (const auto& account : accounts) allAreSignedOut = isSignedOut(*account) && allAreSignedOut;
  return allAreSignedOut ? 0 : 1;
}
