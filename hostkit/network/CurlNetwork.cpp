#include "hostkit/network/CurlNetwork.h"

#include <utility>

#include "hostkit/bodies/KeptBodies.h"
#include "hostkit/network/CurlLoop.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/CurlTransfer.h"
#include "hostkit/network/ServerAddress.h"
#include "hostkit/network/TransferSetting.h"

namespace vellora::hostkit {

namespace {

std::shared_ptr<KeptBodies> bodiesOf(CurlNetwork::Options& options) {
  if (!options.bodies) return nullptr;
  return std::make_shared<KeptBodies>(
      std::move(options.bodies),
      KeptBodies::Options{.maxBytes = options.maxKeptBytes, .user = std::move(options.bodiesOf)});
}

}  // namespace

struct CurlNetwork::Parts {
  const std::shared_ptr<CurlLoop> loop;
};

Result<std::shared_ptr<CurlNetwork>> CurlNetwork::make(Options options) {
  const Result<ServerAddress> server = ServerAddress::parse(options.server);
  if (!server) return server.error();
  if (!options.secrets) options.secrets = std::make_shared<KnownSecrets>();
  const Result<std::shared_ptr<CurlLoop>> loop =
      CurlLoop::start({.server = server.value(),
                       .caFile = std::move(options.caFile),
                       .maxBodyBytes = options.maxBodyBytes,
                       .connectTimeout = options.connectTimeout,
                       .observer = std::move(options.observer),
                       .token = {.provider = std::move(options.token),
                                 .mayGoUnprotected = options.allowTokenOverPlainHttp,
                                 .renewal = std::move(options.renewedToken)},
                       .maxWaiting = options.maxWaiting,
                       .maxBodyValues = options.maxBodyValues,
                       .secrets = std::move(options.secrets),
                       .bodies = bodiesOf(options),
                       .pausesWhenRefused = options.pausesWhenRefused});
  if (!loop) return loop.error();
  return std::shared_ptr<CurlNetwork>(new CurlNetwork(std::make_unique<Parts>(Parts{loop.value()})));
}

CurlNetwork::CurlNetwork(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

CurlNetwork::~CurlNetwork() {
  parts_->loop->stop();
}

void CurlNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  const TransferSetting& setting = parts_->loop->setting();
  const std::string& url = request.base().url.absoluteString();
  auto transfer =
      std::make_unique<CurlTransfer>(setting, CurlRequest::prepare(request, setting.server, setting.token),
                                     url.substr(0, url.find_first_of("?#")), std::move(completion));
  // The loop gives the transfer back only when it is stopping, which it does while this network is destroyed.
  // Then this call comes from a completion, or from a thread that should not use the network any more. The
  // request's own completion is called all the same, with an error.
  if (const auto refused = parts_->loop->submit(std::move(transfer))) {
    if (!refused->isSettled()) refused->fail(CurlNetworkError::Kind::shutDown);
    refused->deliver();
  }
}

}  // namespace vellora::hostkit
