#include "bench/DemoServer.h"

#include <cstdlib>
#include <iostream>
#include <utility>

#include "bench/Samples.h"

namespace vellora::bench {

namespace {

std::unique_ptr<recordsserver::RecordsServer> started(bool packsBodies) {
  recordsserver::RecordsServer::Options options;
  options.keepsRequests = false;
  options.packsBodies = packsBodies;
  auto server = recordsserver::RecordsServer::start(recordsserver::DataSet::generated(sampleTypes), options);
  if (server) return std::move(server).value();
  std::cerr << server.error().localizedDescription() << '\n';
  std::exit(1);
}

}  // namespace

recordsserver::RecordsServer& demoServer() {
  static const auto server = started(false);
  return *server;
}

recordsserver::RecordsServer& packingServer() {
  static const auto server = started(true);
  return *server;
}

}  // namespace vellora::bench
