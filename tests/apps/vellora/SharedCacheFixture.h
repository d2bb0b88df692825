#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/apps/vellora/CommandFixture.h"
#include "tests/hostkit/cache/redis/RedisServer.h"

namespace vellora::command {

/// The command with its cache in a Redis of the test's own. The wait is long, and with it the time of each
/// call of the Redis: no test is decided by how busy the machine is.
class SharedCacheFixture : public CommandFixture {
 protected:
  ChildProcess::Ended vellora(std::vector<std::string> arguments) const {
    return velloraOf(redis.address(), std::move(arguments));
  }

  ChildProcess::Ended velloraOf(const std::string& cache, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--server", server->url(), "--cache", cache, "--wait", "1200"});
    return ChildProcess::run(VELLORA, arguments, options);
  }

  /// The arguments with the token in a file.
  [[nodiscard]] std::vector<std::string> asUser(const std::string& token,
                                                std::vector<std::string> arguments) const {
    writeFile(folder.file(token), token);
    arguments.insert(arguments.begin(), {"--token-file", folder.file(token)});
    return arguments;
  }

  /// The arguments with the Redis' password in a file.
  [[nodiscard]] std::vector<std::string> withPassword(const std::string& password,
                                                      std::vector<std::string> arguments) const {
    writeFile(folder.file("password"), password + "\n");
    arguments.insert(arguments.begin(), {"--cache-password-file", folder.file("password")});
    return arguments;
  }

  [[nodiscard]] std::string name() const { return "The Redis at \"" + redis.address() + "\" "; }

  hostkit::tests::RedisServer redis;
};

}  // namespace vellora::command
