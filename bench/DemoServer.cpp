#include "bench/DemoServer.h"

#include <cstdlib>
#include <iostream>
#include <utility>

#include "bench/Samples.h"

namespace vellora::bench {

recordsserver::RecordsServer& demoServer() {
  static const auto server = [] {
    recordsserver::RecordsServer::Options options;
    options.keepsRequests = false;
    auto started =
        recordsserver::RecordsServer::start(recordsserver::DataSet::generated(sampleTypes), options);
    if (started) return std::move(started).value();
    std::cerr << started.error().localizedDescription() << '\n';
    std::exit(1);
  }();
  return *server;
}

}  // namespace vellora::bench
