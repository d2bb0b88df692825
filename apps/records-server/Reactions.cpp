#include "apps/records-server/Reactions.h"

#include <algorithm>
#include <string>
#include <utility>

#include "apps/records-server/Endpoints.h"

namespace vellora::recordsserver {
namespace {

using http::Reaction;
using http::Response;

constexpr std::string_view garbageBody = "{\"sobjects\": [\xff\xfe\x00 <html>, ]}";

Response responseOf(Answer answer, std::vector<std::pair<std::string, std::string>> headers = {}) {
  return {answer.status, std::move(answer.contentType), std::move(answer.body), std::move(headers)};
}

Response rightResponse(const RecordedRequest& request, const ServerState& state) {
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
  return responseOf(answerFor(request.target, state.data));
}

Response faultyResponse(const Fault& fault) {
  if (fault.kind == Fault::Kind::garbage) return responseOf({200, Data(std::string(garbageBody))});
  if (fault.kind == Fault::Kind::empty) return responseOf({200, Data()});
  return responseOf(Answer::error(fault.status, "The server was told to fail.", "SERVER_FAULT"));
}

}  // namespace

Reaction reactionTo(const RecordedRequest& request, ServerState& state) {
  if (state.options.onRequest) state.options.onRequest(request);
  const auto fault = state.faults.take(request.target);
  if (state.options.keepsRequests) state.log.add(request);
  if (fault.kind == Fault::Kind::drop) return {Reaction::Kind::drop, {}, fault.wait};
  if (fault.kind == Fault::Kind::never) return {Reaction::Kind::stall, {}, fault.wait};
  const bool isRight = fault.kind == Fault::Kind::none || fault.kind == Fault::Kind::truncate;
  auto response = isRight ? rightResponse(request, state) : faultyResponse(fault);
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
