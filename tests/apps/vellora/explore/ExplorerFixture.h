#pragma once

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <utility>

#include "apps/vellora/explore/Explorer.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "testkit/RecordingLogger.h"
#include "testkit/StubNetwork.h"

namespace vellora::explore {

inline constexpr const char* scriptedTypes = R"json({"sobjects":[
  {"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts","createable":true},
  {"name":"Note","label":"</script><b>","labelPlural":"Notes","createable":false}]})json";

inline constexpr const char* scriptedThemes = R"json({"themeItems":[{"name":"Account",
  "colors":[{"color":"2F6FDE","context":"primary","theme":"light"},
  {"color":"8FB4F5","context":"primary","theme":"dark"}],"icons":[
  {"contentType":"image/svg+xml","theme":"light","url":"https://records.example/base/icons/a.svg"},
  {"contentType":"image/png","theme":"light","url":"https://other.example/a.png","width":16},
  {"contentType":"image/png","theme":"light","url":"javascript:alert(1)","width":64}]}]})json";

inline constexpr const char* scriptedSearchLayouts = R"json([{"objectType":"Account",
  "searchColumns":[{"name":"Name","label":"Name","field":"Name"}]}])json";

inline constexpr const char* scriptedCompactLayouts = R"json({"Account":{"objectType":"Account",
  "layoutFields":[{"apiName":"Name","fieldType":"string","label":"Name","htmlFormatted":false}]}})json";

/// An explorer of a server that is scripted: two types, one with layouts and with icons of all kinds. Its
/// lists are held until somebody looks a presentation up.
class ExplorerFixture : public testing::Test {
 protected:
  ExplorerFixture() {
    using testkit::StubNetwork;
    network->answer("/services/data/v50.0/sobjects", StubNetwork::body(scriptedTypes).held());
    network->answer("/services/data/v50.0/theme", StubNetwork::body(scriptedThemes).held());
    network->answer("/services/data/v50.0/search/layout?q=Account", StubNetwork::body(scriptedSearchLayouts));
    network->answer("/services/data/v50.0/search/layout?q=Note", StubNetwork::body("[]"));
    network->answer("/services/data/v53.0/compactLayouts?q=Account",
                    StubNetwork::body(scriptedCompactLayouts));
    network->answerPrefix("/services/data/v53.0/query", StubNetwork::body("{\"records\":[]}"));
    icons->answer("/icons/a.svg", StubNetwork::body("<svg><script>alert(1)</script></svg>"));
    explorer = std::make_shared<Explorer>(host, arguments(), IconSource{icons, "icon-key"}, secrets);
  }

  static command::Arguments arguments() {
    command::Arguments arguments;
    arguments.server = "https://records.example/base";
    return arguments;
  }

  /// What a lookup answers.
  template <class Answer, class LookUp>
  static Answer answerOf(LookUp lookUp) {
    const auto promise = std::make_shared<std::promise<Answer>>();
    lookUp([promise](Answer answer) { promise->set_value(std::move(answer)); });
    return promise->get_future().get();
  }

  /// What is looked up of these types once the first load has ended.
  [[nodiscard]] PresentationAnswer presentations(const std::vector<std::string>& names,
                                                 const std::string& theme = "") const {
    EXPECT_TRUE(network->waitForRequests(2));
    network->releaseAll();
    return answerOf<PresentationAnswer>(
        [&](auto completion) { explorer->presentations(names, theme, std::move(completion)); });
  }

  void waitForPrefetch() const { static_cast<void>(presentations({"Account"})); }

  [[nodiscard]] SearchLayoutAnswer searchLayout(const std::string& name) const {
    return answerOf<SearchLayoutAnswer>(
        [&](auto completion) { explorer->searchLayout(name, std::move(completion)); });
  }

  [[nodiscard]] CompactLayoutAnswer compactLayout(const std::string& name) const {
    return answerOf<CompactLayoutAnswer>(
        [&](auto completion) { explorer->compactLayout(name, std::move(completion)); });
  }

  [[nodiscard]] LackingLayouts lackingLayouts(const std::vector<std::string>& names) const {
    return answerOf<LackingLayouts>(
        [&](auto completion) { explorer->lackingLayouts(names, std::move(completion)); });
  }

  const std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<testkit::StubNetwork> icons = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<hostkit::KnownSecrets> secrets = std::make_shared<hostkit::KnownSecrets>();
  const RequiredAPI host{network, std::make_shared<hostkit::MemoryCache>(),
                         std::make_shared<testkit::RecordingLogger>()};
  std::shared_ptr<Explorer> explorer;
};

}  // namespace vellora::explore
