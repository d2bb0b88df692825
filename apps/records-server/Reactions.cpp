#include "apps/records-server/Reactions.h"

#include <algorithm>
#include <string>
#include <utility>

#include "apps/records-server/Endpoints.h"
#include "apps/records-server/Representations.h"

namespace vellora::recordsserver {
namespace {

using http::Reaction;
using http::Response;

constexpr int ok = 200;
constexpr std::string_view garbageBody = "{\"sobjects\": [\xff\xfe\x00 <html>, ]}";

Response responseOf(Answer answer, std::vector<std::pair<std::string, std::string>> headers = {}) {
  return {answer.status, std::move(answer.contentType), std::move(answer.body), std::move(headers)};
}

Response notModified(std::string tag) {
  return {304, {}, {}, {{"ETag", std::move(tag)}, {"Vary", "Accept-Encoding"}}};
}

/// The answer in the form that the client takes, or the word that it has it already.
Response representing(Answer answer, const RecordedRequest& request, ServerState& state) {
  const bool packs = state.options.packsBodies && acceptsGzip(request.header("Accept-Encoding").value_or(""));
  auto [body, tag] = state.representations.of(answer.body, packs);
  if (isAmong(tag, request.header("If-None-Match").value_or(""))) return notModified(std::move(tag));
  auto response = responseOf(std::move(answer), {{"ETag", std::move(tag)}, {"Vary", "Accept-Encoding"}});
  response.body = std::move(body);
  if (packs) response.headers.emplace_back("Content-Encoding", "gzip");
  return response;
}

/// The right answer, but for its tag, which is always the same.
Response withFrozenTag(Response response, const RecordedRequest& request) {
  const std::string frozen = "\"frozen\"";
  if (isAmong(frozen, request.header("If-None-Match").value_or(""))) return notModified(frozen);
  for (auto& [name, value] : response.headers) {
    if (name == "ETag") value = frozen;
  }
  return response;
}

Response rightResponse(const RecordedRequest& request, ServerState& state) {
  if (request.target.size() > state.options.maxTargetBytes)
    return responseOf(Answer::error(414, "The address is too long.", "BAD_REQUEST"));
  const auto& token = state.options.token;
  const bool isPublic = request.target.starts_with("/icons/");  // images, as servers give them to everybody
  if (!token.empty() && !isPublic && request.header("Authorization") != "Bearer " + token)
    return responseOf(Answer::error(401, "A valid bearer token is required.", "UNAUTHORIZED"),
                      {{"WWW-Authenticate", "Bearer"}});
  if (request.method != "GET")
    return responseOf(Answer::error(405, "Only GET is allowed here.", "METHOD_NOT_ALLOWED"),
                      {{"Allow", "GET"}});
  auto answer = answerFor(request.target, state.data.current());
  return answer.status == ok ? representing(std::move(answer), request, state)
                             : responseOf(std::move(answer));
}

Response faultyResponse(const Fault& fault) {
  if (fault.kind == Fault::Kind::garbage) return responseOf({200, Data(std::string(garbageBody))});
  if (fault.kind == Fault::Kind::empty) return responseOf({200, Data()});
  if (fault.kind == Fault::Kind::unasked) return {304, {}, {}, {}};
  if (fault.kind == Fault::Kind::otherTag) return notModified("\"of another body\"");
  return responseOf(Answer::error(fault.status, "The server was told to fail.", "SERVER_FAULT"));
}

bool sendsRightBody(const Fault& fault) {
  return fault.kind == Fault::Kind::none || fault.kind == Fault::Kind::truncate ||
         fault.kind == Fault::Kind::frozenTag;
}

}  // namespace

Reaction reactionTo(const RecordedRequest& request, ServerState& state) {
  if (state.options.onRequest) state.options.onRequest(request);
  const auto fault = state.faults.take(request.target);
  if (state.options.keepsRequests) state.log.add(request);
  if (fault.kind == Fault::Kind::drop) return {Reaction::Kind::drop, {}, fault.wait};
  if (fault.kind == Fault::Kind::never) return {Reaction::Kind::stall, {}, fault.wait};
  auto response = sendsRightBody(fault) ? rightResponse(request, state) : faultyResponse(fault);
  if (fault.kind == Fault::Kind::frozenTag) response = withFrozenTag(std::move(response), request);
  if (fault.kind == Fault::Kind::truncate) {
    const auto size = response.body.size();
    response.truncatedTo = size > 0 ? std::min(fault.bytes, size - 1) : 0;
  }
  return {Reaction::Kind::answer, std::move(response), fault.wait};
}

Response refusal(int status, std::string_view message) {
  return responseOf(Answer::error(status, message, "BAD_REQUEST"));
}

}  // namespace vellora::recordsserver
