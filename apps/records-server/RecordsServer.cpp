#include "apps/records-server/RecordsServer.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "apps/records-server/Connection.h"
#include "apps/records-server/DataError.h"
#include "apps/records-server/ServerState.h"

namespace vellora::recordsserver {
namespace {

namespace asio = boost::asio;
using Acceptor = asio::basic_socket_acceptor<asio::ip::tcp, asio::io_context::executor_type>;
using Timer =
    asio::basic_waitable_timer<std::chrono::steady_clock, asio::wait_traits<std::chrono::steady_clock>,
                               asio::io_context::executor_type>;

constexpr std::chrono::milliseconds pauseWithoutDescriptors{50};

}  // namespace

class RecordsServer::Implementation {
 public:
  Implementation(DataSet data, Options options) : state_{std::move(data), std::move(options), {}, {}} {}

  ~Implementation() { stop(); }

  boost::system::error_code listen() {
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::loopback(), state_.options.port);
    boost::system::error_code error;
    Acceptor& acceptor = loop_->acceptor;
    acceptor.open(endpoint.protocol(), error);
    if (!error) acceptor.set_option(asio::socket_base::reuse_address(true), error);
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error) port_ = acceptor.local_endpoint(error).port();
    return error;
  }

  void run() {
    accept();
    thread_ = std::thread([this] { loop_->context.run(); });
  }

  void stop() {
    const std::lock_guard lock(stopping_);
    if (!loop_) return;
    loop_->context.stop();
    if (thread_.joinable()) thread_.join();
    loop_.reset();
  }

  ServerState& state() { return state_; }
  [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
  /// What runs on the server's thread. Its end closes the connections, which use the state.
  struct Loop {
    asio::io_context context{1};
    Acceptor acceptor{context};
    Timer pause{context};
  };

  void accept() {
    loop_->acceptor.async_accept([this](boost::system::error_code error, ConnectionSocket socket) {
      if (error) return acceptLater();
      startConnection(std::move(socket), state_);
      accept();
    });
  }

  // Without a free descriptor, accepting fails again at once until a connection ends.
  void acceptLater() {
    loop_->pause.expires_after(pauseWithoutDescriptors);
    loop_->pause.async_wait([this](boost::system::error_code error) {
      if (!error) accept();
    });
  }

  ServerState state_;
  std::uint16_t port_ = 0;
  std::mutex stopping_;
  std::unique_ptr<Loop> loop_ = std::make_unique<Loop>();  // null once stopped
  std::thread thread_;
};

Result<std::unique_ptr<RecordsServer>> RecordsServer::start(DataSet data, Options options) {
  const auto port = options.port;
  auto implementation = std::make_unique<Implementation>(std::move(data), std::move(options));
  if (const auto error = implementation->listen())
    return Error(DataError{"cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + error.message()});
  implementation->run();
  return std::unique_ptr<RecordsServer>(new RecordsServer(std::move(implementation)));
}

RecordsServer::RecordsServer(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

RecordsServer::~RecordsServer() = default;

std::uint16_t RecordsServer::port() const {
  return implementation_->port();
}

std::string RecordsServer::url() const {
  return "http://127.0.0.1:" + std::to_string(port());
}

void RecordsServer::stop() {
  implementation_->stop();
}

std::vector<std::string> RecordsServer::requests() const {
  std::vector<std::string> lines;
  for (const auto& request : recordedRequests()) lines.push_back(request.line());
  return lines;
}

std::vector<RecordedRequest> RecordsServer::recordedRequests() const {
  return implementation_->state().log.requests();
}

void RecordsServer::clearRequests() {
  implementation_->state().log.clear();
}

bool RecordsServer::waitForRequests(std::size_t count, std::chrono::milliseconds atMost) const {
  return implementation_->state().log.waitFor(count, atMost);
}

void RecordsServer::setFault(const std::string& pattern, Fault fault, std::optional<std::size_t> count) {
  implementation_->state().faults.set(pattern, fault, count);
}

void RecordsServer::clearFaults() {
  implementation_->state().faults.clear();
}

}  // namespace vellora::recordsserver
