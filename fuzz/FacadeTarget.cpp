#include "fuzz/FacadeTarget.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/AuditedCache.h"
#include "fuzz/Target.h"
#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "tests/support/TestError.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::fuzz {

namespace {

using testkit::StubNetwork;

constexpr double timeout = 3600;
constexpr std::size_t mostLookups = 32;
constexpr std::size_t mostKeys = 8;
constexpr std::size_t mostFacades = 4;
constexpr std::string_view kinds = "TOQNSC";

/// How the URLs of a kind of request begin.
std::string prefixOf(char kind) {
  switch (kind) {
    case 'T':
      return "/services/data/v50.0/theme";
    case 'O':
      return "/services/data/v50.0/sobjects";
    case 'Q':
      return "/services/data/v50.0/query?";
    case 'N':
      return "/services/data/v53.0/query?";
    case 'S':
      return "/services/data/v50.0/search/layout?";
    default:
      return "/services/data/v53.0/compactLayouts?";
  }
}

std::vector<std::string> keysIn(std::string_view text) {
  std::vector<std::string> keys;
  while (!text.empty() && keys.size() < mostKeys) {
    const auto end = std::min(text.find(','), text.size());
    keys.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return keys;
}

/// A lookup, and what its completion ran with.
struct Lookup {
  char kind;
  std::vector<std::string> keys;
  bool mustBeAnswered = false;
  int answers = 0;
  std::map<std::string, std::string> names;  ///< by key, the name of the object type that is under it

  [[nodiscard]] bool holdsWhatWasAsked() const {
    return std::ranges::all_of(names, [this](const auto& entry) {
      const auto& [key, name] = entry;
      return std::ranges::find(keys, key) != keys.end() && (kind != 'n' || key == name);
    });
  }
};

class Host {
 public:
  void run(std::string_view script) {
    construct();
    while (!script.empty()) {
      const auto end = std::min(script.find('\n'), script.size());
      if (end > 0) step(script.front(), script.substr(1, end - 1));
      script.remove_prefix(std::min(end + 1, script.size()));
    }
    settle();
  }

  void check() const {
    for (const auto& lookup : lookups_) {
      require(lookup->answers <= 1, "a lookup is answered at most once");
      require(lookup->answers == 1 || !lookup->mustBeAnswered, "a lookup that must be answered is");
      require(lookup->holdsWhatWasAsked(), "an answer holds nothing that was not asked for");
    }
    require(cache_->findings().empty(), "the cache is written what decodes");
  }

  /// Mends the server, and looks up something that `script` has not touched.
  void checkRecovery(std::string_view script) {
    const auto name = absentFrom(script, "Probe");
    const auto id = absentFrom(script, "#").substr(0, 3);
    isHolding_ = false;
    answer('O', StubNetwork::body(R"({"sobjects":[{"name":")" + name + R"(","keyPrefix":")" + id +
                                  R"(","label":"one","labelPlural":"many","createable":true}]})"));
    answer('T', StubNetwork::body(R"({"themeItems":[{"name":")" + name +
                                  R"(","icons":[{"contentType":"a","theme":"b","url":"found"}]}]})"));
    clock_.advance(timeout + 1);
    construct();
    std::map<std::string, ObjectPresentationInfo> byId;
    std::map<std::string, ObjectPresentationInfo> byName;
    service_->objectPresentationInfoForIds({id}, [&](auto infos) { byId = std::move(infos); });
    settle();  // a lookup by names takes the cached list however old it is, so the new one has to be there
               // first
    service_->objectPresentationInfoForApiNames({name}, [&](auto infos) { byName = std::move(infos); });
    settle();
    const auto shows = [&](const auto& infos, const std::string& key) {
      return infos.size() == 1 && infos.begin()->first == key &&
             infos.begin()->second.typePresentationInfo.apiName() == name &&
             infos.begin()->second.typePresentationInfo.smallIconUrl == "found";
    };
    require(shows(byId, id) && shows(byName, name), "once the server is well, so are the answers");
  }

  /// Destroys the façade, and what was still queued or held with it.
  void checkRelease() {
    service_.reset();
    settle();
    const std::weak_ptr<CorvaneSDK::Logger> logger = std::exchange(logger_, nullptr);
    const std::weak_ptr<CorvaneSDK::Cache> cache = std::exchange(cache_, nullptr);
    network_.reset();
    require(logger.expired() && cache.expired(), "nothing outlives the façade");
  }

 private:
  void construct() {
    for (const auto& lookup : lookups_) {
      // A presentation lookup ends with its façade.
      if (lookup->kind == 'n' && lookup->answers == 0) lookup->mustBeAnswered = false;
    }
    service_.reset();
    service_.emplace(std::make_shared<hostkit::StandardPlatformAPI>(network_, cache_, logger_), timeout,
                     "light", std::make_shared<SerialDispatchQueue>("host", DispatchQoS::userInitiated));
  }

  void step(char what, std::string_view rest) {
    if (kinds.find(what) != kinds.npos) return answer(what, StubNetwork::body(std::string(rest)));
    switch (what) {
      case 'E':
        return answerAll(rest, StubNetwork::failure(tests::TestError{"unreachable"}));
      case 'Z':
        return answerAll(rest, StubNetwork::nothing());
      case 'h':
        isHolding_ = !isHolding_;
        return;
      case '1':
        queues_.runNext();
        return;
      case 'a':
        queues_.runAll();
        return;
      case 'r':
        network_->releaseOne();
        return;
      case 't':
        return clock_.advance(timeout + 1);
      case 'x':
        if (++facades_ <= mostFacades) construct();
        return;
      default:
        if (lookups_.size() < mostLookups) lookUp(what, keysIn(rest));
    }
  }

  void answerAll(std::string_view letters, const StubNetwork::Answer& given) {
    for (const char letter : letters.substr(0, kinds.size())) {
      if (kinds.find(letter) != kinds.npos) answer(letter, given);
    }
  }

  void answer(char kind, const StubNetwork::Answer& given) {
    network_->answerPrefix(prefixOf(kind), isHolding_ ? given.held() : given);
  }

  void lookUp(char what, const std::vector<std::string>& keys) {
    if (std::string_view("insc").find(what) == std::string_view::npos) return;
    // A compact layout lookup may be overtaken by another one, and an id lookup is not answered after a
    // failure.
    const auto lookup = std::make_shared<Lookup>(Lookup{what, keys, what == 'n' || what == 's', 0, {}});
    lookups_.push_back(lookup);
    const auto presented = [lookup](const auto& infos) {
      ++lookup->answers;
      for (const auto& [key, info] : infos) lookup->names[key] = info.typePresentationInfo.apiName();
    };
    const auto laidOut = [lookup](const auto&) { ++lookup->answers; };
    if (what == 'i') return service_->objectPresentationInfoForIds(keys, presented);
    if (what == 'n') return service_->objectPresentationInfoForApiNames(keys, presented);
    if (what == 's') return service_->objectLayoutInfoForApiNames(keys, laidOut);
    service_->objectCompactLayoutInfoForApiNames(keys, laidOut);
  }

  /// Lets everything happen that is left to happen.
  void settle() {
    while (queues_.runAll() > 0 || network_->releaseOne()) {
    }
  }

  /// A word that stands nowhere in `text`.
  static std::string absentFrom(std::string_view text, const std::string& stem) {
    std::string word;
    for (char one = '0'; one <= 'z'; ++one) {
      for (char other = '0'; other <= '9'; ++other) {
        word = stem + std::string{one, other};
        if (one != '\\' && text.find(word) == text.npos) return word;
      }
    }
    return word;
  }

  tests::TestClock clock_;
  tests::ManualQueues queues_;
  std::shared_ptr<StubNetwork> network_ = std::make_shared<StubNetwork>();
  std::shared_ptr<AuditedCache> cache_ =
      std::make_shared<AuditedCache>(std::make_shared<hostkit::MemoryCache>());
  std::shared_ptr<CorvaneSDK::Logger> logger_ = std::make_shared<testkit::RecordingLogger>();
  bool isHolding_ = false;
  std::size_t facades_ = 1;
  std::vector<std::shared_ptr<Lookup>> lookups_;
  std::optional<VelloraService> service_;
};

}  // namespace

void runFacade(const Data& input) {
  Host host;
  host.run(input.view());
  host.check();
  host.checkRecovery(input.view());
  host.checkRelease();
}

}  // namespace vellora::fuzz
