#include "tests/faults/ConditionalOperation.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/bodies/KeptBodies.h"
#include "hostkit/bodies/KeptBody.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/ResponseHead.h"
#include "hostkit/network/Revalidation.h"
#include "hostkit/network/Validators.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "tests/support/Requests.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::faults {

namespace {

using hostkit::CurlRequest;
using hostkit::KeptBodies;
using hostkit::Revalidation;

constexpr const char* path = "/services/data/v50.0/sobjects";
constexpr int ok = 200;
constexpr int notModified = 304;

/// What a network keeps between its requests.
struct Keeping {
  std::shared_ptr<KeptBodies> bodies;
  std::shared_ptr<hostkit::KnownSecrets> secrets = std::make_shared<hostkit::KnownSecrets>();
};

CurlRequest requestFor() {
  return {.url = std::string("https://records.example:443") + path,
          .headerLines = {"Accept: */*"},
          .timeout = 60,
          .token = ""};
}

CorvaneSDK::NetRequest wireRequest(const CurlRequest& request) {
  URLRequest wire = tests::get(path).base();
  for (const auto& line : request.headerLines) {
    const auto colon = line.find(": ");
    wire.headers.emplace(line.substr(0, colon), line.substr(colon + 2));
  }
  return CorvaneSDK::NetRequest(std::move(wire));
}

hostkit::ResponseHead headOf(const URLResponse& response) {
  hostkit::ResponseHead head;
  static_cast<void>(head.takeLine("HTTP/2 " + std::to_string(response.statusCode) + "\r\n"));
  for (const auto& [name, value] : response.headers)
    static_cast<void>(head.takeLine(name + ": " + value + "\r\n"));
  static_cast<void>(head.takeLine("\r\n"));
  return head;
}

Delivery deliveryOfBody(const Data& body) {
  const auto list = json::decode<SObjectsResponse>(body);
  if (!list) return {.entries = std::nullopt, .error = textOf(list.error())};
  std::map<std::string, SObject> byName;
  for (const auto& type : list.value().sObjects) byName.emplace(type.name, type);
  return deliveryOf(byName);
}

/// One request on its way. What comes of an answer is decided as `CurlTransfer` decides it.
class Asking : public std::enable_shared_from_this<Asking> {
 public:
  Asking(const Keeping& keeping, std::shared_ptr<CorvaneSDK::Network> network,
         std::function<void(Delivery)> deliver)
      : revalidation_(keeping.bodies, keeping.secrets),
        network_(std::move(network)),
        deliver_(std::move(deliver)) {}

  void send() { send(revalidation_.withCondition(requestFor(), requestFor().url)); }

 private:
  void send(const CurlRequest& request) {
    network_->sendRequest(
        wireRequest(request),
        [self = shared_from_this()](const auto& body, const auto& error, const auto& response) {
          if (!self->deliver_) return;  // a request ends once
          self->take(body, error, response.value_or(URLResponse{path, ok, {}}));
        });
  }

  void take(const std::optional<Data>& body, const std::optional<Error>& error, const URLResponse& response) {
    if (error) return end({.entries = std::nullopt, .error = textOf(*error)});
    const auto head = headOf(response);
    if (response.statusCode == notModified) return takeUnchanged(head);
    if (!body) return end({.entries = std::nullopt, .error = "noData"});
    revalidation_.note(response.statusCode, head, hostkit::isWhole(*body, head) ? body : std::nullopt);
    end(deliveryOfBody(*body));
    revalidation_.keepNoted();
  }

  void takeUnchanged(const hostkit::ResponseHead& head) {
    if (const auto* kept = revalidation_.confirmedBy(head)) return end(deliveryOfBody(kept->body));
    revalidation_.giveUp();
    send(requestFor());
  }

  void end(Delivery delivery) { std::exchange(deliver_, nullptr)(std::move(delivery)); }

  Revalidation revalidation_;
  const std::shared_ptr<CorvaneSDK::Network> network_;
  std::function<void(Delivery)> deliver_;
};

}  // namespace

Operation conditionalOperation() {
  const auto ask = [](FaultRun& run, const Operation::Service& service) {
    auto keeping = std::static_pointer_cast<Keeping>(service);
    if (!keeping) {
      keeping = std::make_shared<Keeping>();
      keeping->bodies = std::make_shared<KeptBodies>(run.host().cache(), KeptBodies::Options());
    }
    std::make_shared<Asking>(*keeping, run.host().network(), run.deliver())->send();
    return Operation::Service(keeping);
  };
  return {.name = "list on condition", .ask = ask, .leavesToItself = true};
}

}  // namespace vellora::faults
