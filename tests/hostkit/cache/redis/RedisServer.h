#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/cache/redis/RedisReply.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestCertificate.h"

namespace vellora::hostkit::tests {

/// A Redis of a test's own, on a socket in a folder of its own. It keeps nothing on disk.
///
/// Ownership: owns its process and its folder.
///
/// Errors: `std::runtime_error` when it cannot be started.
class RedisServer {
 public:
  /// `options` are further words of its command line.
  explicit RedisServer(std::vector<std::string> options = {});

  [[nodiscard]] std::string address() const { return "redis+unix://" + socket(); }

  /// What it answers; `std::runtime_error` when it does not. Needs the password that it was started with.
  RedisReply ask(const RedisCommand& command) const;

  /// The names of all its keys that match, sorted.
  [[nodiscard]] std::vector<std::string> keys(const std::string& pattern = "*") const;

  /// How often that command ran since `forgetCalls`, inside scripts too.
  [[nodiscard]] int callsOf(const std::string& command) const;
  void forgetCalls() const { (void)ask({"CONFIG", "RESETSTAT"}); }

  void kill();
  void start();

  /// Has it stand still, with all connections open, and go on.
  void halt() const;
  void goOn() const;

 private:
  [[nodiscard]] std::string socket() const { return folder_.file("redis.sock"); }

  vellora::tests::TemporaryFolder folder_;
  const std::vector<std::string> options_;
  std::unique_ptr<vellora::tests::ServerProcess> process_;
};

/// A Redis that also speaks TLS, on a loopback port.
class TlsRedisServer {
 public:
  TlsRedisServer();

  [[nodiscard]] std::string address() const { return "rediss://127.0.0.1:" + std::to_string(port_); }
  [[nodiscard]] std::string certificate() const { return certificate_.file(); }

 private:
  vellora::tests::TestCertificate certificate_{"IP:127.0.0.1"};
  int port_ = 0;
  std::unique_ptr<RedisServer> server_;
};

}  // namespace vellora::hostkit::tests
