#include "apps/vellora/explore/Site.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <utility>

#include "apps/http/Target.h"
#include "apps/vellora/command/Document.h"
#include "apps/vellora/command/Keys.h"
#include "apps/vellora/explore/Page.h"

namespace vellora::explore {
namespace {

using http::Exchange;
using http::Request;
using http::Response;
using http::Target;
using Need = RequestGuard::Need;

constexpr const char* pagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
    "trusted-types 'none'";
// An icon may be an SVG document with scripts in it. Opened on its own it has no origin and may do nothing.
constexpr const char* iconPolicy = "default-src 'none'; frame-ancestors 'none'; sandbox";
constexpr const char* policyHeader = "Content-Security-Policy";

constexpr std::size_t mostNames = 200;
constexpr const char* namesWanted = "\"names\" must be 1 to 200 names of object types.";

template <class T>
Response jsonResponse(const T& value) {
  auto body = command::encode(value);
  if (!body) return plainText(500, body.error().localizedDescription());
  return {200, "application/json;charset=UTF-8", std::move(body).value()};
}

void answer(const Exchange& exchange, Response response) {
  exchange.answer(secured(std::move(response)));
}

/// Answers with what `make` makes. Where there is no memory for that nobody answers, and the connection is
/// dropped: on the thread of a network or of a catalogue nothing may be thrown.
template <class Make>
void answerWith(const Exchange& exchange, Make make) noexcept {
  try {
    answer(exchange, make());
  } catch (const std::bad_alloc&) {
    exchange.react({http::Reaction::Kind::drop});
  }
}

template <class Answer>
std::function<void(Answer)> answeringWithJson(const Exchange& exchange) {
  return [exchange](const Answer& found) { answerWith(exchange, [&] { return jsonResponse(found); }); };
}

Response iconResponse(const std::optional<Image>& image) {
  if (!image) return plainText(404, "There is no such icon.");
  return {200,
          std::string(image->contentType),
          image->bytes,
          {{policyHeader, iconPolicy}, {"Content-Disposition", "attachment"}}};
}

std::optional<std::int64_t> numberIn(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// The names of a query item, separated by commas, each percent-encoded; no value unless all are UTF-8.
std::optional<std::vector<std::string>> namesIn(const Target& target) {
  const auto item = target.encodedItem("names");
  if (!item) return std::nullopt;
  std::vector<std::string> names;
  for (std::size_t at = 0; at <= item->size();) {
    const auto end = std::min(item->find(',', at), item->size());
    auto name = http::percentDecoded(std::string_view(*item).substr(at, end - at));
    if (!name || name->empty() || names.size() == mostNames) return std::nullopt;
    names.push_back(*std::move(name));
    at = end + 1;
  }
  return command::keyThatIsNoText(names) ? std::nullopt : std::optional(std::move(names));
}

struct Call {
  Explorer& explorer;
  const Target& target;
  const Exchange& exchange;

  void badRequest(const std::string& text) const { answer(exchange, plainText(400, text)); }

  void state() const {
    const auto after = numberIn(target.encodedItem("after").value_or("0"));
    if (!after) return badRequest("\"after\" must be the number of an entry.");
    answer(exchange, jsonResponse(explorer.state(*after)));
  }

  void changes() const { answer(exchange, jsonResponse(explorer.changes())); }

  void types() const { answer(exchange, jsonResponse(explorer.types())); }

  void presentations() const {
    const auto names = namesIn(target);
    if (!names) return badRequest(namesWanted);
    const auto theme = http::percentDecoded(target.encodedItem("theme").value_or(""));
    if (!theme || command::keyThatIsNoText({*theme})) return badRequest("\"theme\" must be a text.");
    explorer.presentations(*names, *theme, answeringWithJson<PresentationAnswer>(exchange));
  }

  void searchLayout() const {
    const auto names = namesIn(target);
    if (!names || names->size() != 1) return badRequest("\"names\" must be the name of one object type.");
    explorer.searchLayout(names->front(), answeringWithJson<SearchLayoutAnswer>(exchange));
  }

  void compactLayout() const {
    const auto names = namesIn(target);
    if (!names || names->size() != 1) return badRequest("\"names\" must be the name of one object type.");
    explorer.compactLayout(names->front(), answeringWithJson<CompactLayoutAnswer>(exchange));
  }

  void lackingLayouts() const {
    const auto names = namesIn(target);
    if (!names) return badRequest(namesWanted);
    explorer.lackingLayouts(*names, answeringWithJson<LackingLayouts>(exchange));
  }

  void icon() const {
    explorer.icon(target.encodedItem("id").value_or(""),
                  [exchange = exchange](const std::optional<Image>& image) {
                    answerWith(exchange, [&] { return iconResponse(image); });
                  });
  }

  void server() const {
    const auto reachable = target.encodedItem("reachable");
    if (reachable != "true" && reachable != "false")
      return badRequest("\"reachable\" must be true or false.");
    explorer.setServerReachable(reachable == "true");
    answer(exchange, {204});
  }

  void refresh() const { explorer.refresh(answeringWithJson<RefreshAnswer>(exchange)); }

  void prefetch() const {
    explorer.startAgain();
    answer(exchange, {204});
  }
};

struct Route {
  std::string_view path;
  Need need;
  void (Call::*respond)() const;

  [[nodiscard]] bool changesSomething() const { return need == Need::keyAndOrigin; }
};

constexpr Route routes[] = {
    {"/api/state", Need::key, &Call::state},
    {"/api/changes", Need::key, &Call::changes},
    {"/api/types", Need::key, &Call::types},
    {"/api/presentations", Need::key, &Call::presentations},
    {"/api/search-layout", Need::key, &Call::searchLayout},
    {"/api/compact-layout", Need::key, &Call::compactLayout},
    {"/api/lacking-layouts", Need::key, &Call::lackingLayouts},
    {"/api/icon", Need::ownPage, &Call::icon},  // browsers send no key for an image; its id is one
    {"/api/server", Need::keyAndOrigin, &Call::server},
    {"/api/prefetch", Need::keyAndOrigin, &Call::prefetch},
    {"/api/refresh", Need::keyAndOrigin, &Call::refresh},
};

bool isAllowed(const Request& request, bool changesSomething) {
  if (changesSomething) return request.method == "POST";
  return request.method == "GET" || request.method == "HEAD";
}

Response methodNotAllowed(bool changesSomething) {
  const std::string allowed = changesSomething ? "POST" : "GET, HEAD";
  auto response = plainText(405, "Only " + allowed + " is allowed here.");
  response.headers.emplace_back("Allow", allowed);
  return response;
}

}  // namespace

void Site::handle(const Request& request, const Exchange& exchange) const {
  const auto target = Target::parse(request.target);
  const auto hasPath = [&target](const auto& entry) { return entry.path == target.path; };
  const auto files = pageFiles();
  const auto file = std::find_if(files.begin(), files.end(), hasPath);
  const auto* route = std::find_if(std::begin(routes), std::end(routes), hasPath);

  const bool isRoute = route != std::end(routes);
  const Need need = isRoute ? route->need : target.path == "/" ? Need::nothing : Need::ownPage;
  if (auto refusal = guard_.refuse(request, need)) return answer(exchange, *std::move(refusal));
  if (!isRoute && file == files.end())
    return answer(exchange, plainText(404, "There is nothing at this address."));
  const bool changesSomething = isRoute && route->changesSomething();
  if (!isAllowed(request, changesSomething)) return answer(exchange, methodNotAllowed(changesSomething));
  if (isRoute) return (Call{*explorer_, target, exchange}.*route->respond)();
  answer(exchange, {200, std::string(file->contentType), Data(std::string(file->text))});
}

Response secured(Response response) {
  const bool hasPolicy = std::any_of(response.headers.begin(), response.headers.end(),
                                     [](const auto& header) { return header.first == policyHeader; });
  if (!hasPolicy) response.headers.emplace_back(policyHeader, pagePolicy);
  response.headers.insert(response.headers.end(), {{"X-Content-Type-Options", "nosniff"},
                                                   {"X-Frame-Options", "DENY"},
                                                   {"Referrer-Policy", "no-referrer"},
                                                   {"Cross-Origin-Resource-Policy", "same-origin"},
                                                   {"Cross-Origin-Opener-Policy", "same-origin"},
                                                   {"Cache-Control", "no-store"}});
  return response;
}

}  // namespace vellora::explore
