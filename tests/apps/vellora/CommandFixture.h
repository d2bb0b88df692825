#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace vellora::command {

using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using tests::ChildProcess;

/// The command as its users start it: a process of its own, against a real server, with a cache file.
class CommandFixture : public testing::Test {
 protected:
  void SetUp() override {
    auto started = RecordsServer::start(DataSet::builtIn());
    ASSERT_TRUE(started);
    server = std::move(started).value();
  }

  [[nodiscard]] std::vector<std::string> withServer(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--server", server->url(), "--cache", cacheFile});
    return arguments;
  }

  ChildProcess::Ended run(const std::vector<std::string>& arguments) const {
    return ChildProcess::run(VELLORA, withServer(arguments), options);
  }

  /// How the command ended whose wait ran out, and that wait, as its texts have it.
  struct Waited {
    ChildProcess::Ended ended;
    std::string wait;
  };

  /// Runs the command with a short wait, and with longer ones until `isEnough()`: a busy machine may not get
  /// in a short one to what is tried.
  template <class Condition>
  Waited runUntil(Condition isEnough, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--wait", ""});
    Waited waited;
    for (const char* wait : {"0.5", "3", "30"}) {
      arguments[1] = waited.wait = wait;
      waited.ended = run(arguments);
      if (isEnough(waited.ended)) break;
    }
    return waited;
  }

  /// The same until the command says that it waited for the answer to a path that begins so.
  Waited runUntilAsked(const std::string& path, const std::vector<std::string>& arguments) const {
    return runUntil(
        [&](const auto& ended) { return ended.err.find("no answer to " + path) != std::string::npos; },
        arguments);
  }

  void writeFile(const std::string& file, const std::string& content) const {
    std::ofstream(file, std::ios::binary) << content;
  }

  [[nodiscard]] static std::string contentOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  const tests::TemporaryFolder folder;
  const std::string cacheFile = folder.file("cache.sqlite");
  ChildProcess::Options options{.input = {}, .environment = {{"HOME", folder.path().string()}}};
  std::unique_ptr<RecordsServer> server;
};

}  // namespace vellora::command
