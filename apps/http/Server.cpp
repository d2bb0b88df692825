#include "apps/http/Server.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "apps/http/Connection.h"
#include "apps/http/ListenError.h"

namespace vellora::http {
namespace {

namespace asio = boost::asio;
using Acceptor = asio::basic_socket_acceptor<asio::ip::tcp, asio::io_context::executor_type>;
using Timer =
    asio::basic_waitable_timer<std::chrono::steady_clock, asio::wait_traits<std::chrono::steady_clock>,
                               asio::io_context::executor_type>;

constexpr std::chrono::milliseconds pauseWithoutDescriptors{50};
constexpr std::chrono::milliseconds pauseWithoutMemory{5};

}  // namespace

class Server::Implementation {
 public:
  explicit Implementation(Options options) : context_{std::move(options), gate_} {}

  ~Implementation() { stop(); }

  boost::system::error_code listen() {
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::loopback(), context_.options.port);
    boost::system::error_code error;
    Acceptor& acceptor = loop_->acceptor;
    acceptor.open(endpoint.protocol(), error);
    if (!error) acceptor.set_option(asio::socket_base::reuse_address(true), error);
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error) port_ = acceptor.local_endpoint(error).port();
    return error;
  }

  void run(Handler handler) {
    context_.handler = std::move(handler);
    accept();
    thread_ = std::thread([this] { serve(); });
  }

  void stop() {
    const std::lock_guard lock(stopping_);
    if (!loop_) return;
    gate_->shut();
    loop_->context.stop();
    if (thread_.joinable()) thread_.join();
    loop_.reset();
  }

  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] std::uint64_t bytesSent() const { return context_.sent; }

 private:
  /// What runs on the server's thread. Its end closes the connections, which use the context.
  struct Loop {
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> isNeeded = asio::make_work_guard(context);
    Acceptor acceptor{context};
    Timer pause{context};
    bool accepts = false;  ///< whether somebody waits for the next connection
  };

  void serve() {
    while (!hasServedToTheEnd()) std::this_thread::sleep_for(pauseWithoutMemory);
  }

  // What there is no memory for ends one connection; the server goes on with the others.
  bool hasServedToTheEnd() {
    try {
      if (!loop_->accepts) accept();
      loop_->context.run();
      return true;
    } catch (const std::bad_alloc&) {
      return loop_->context.stopped();
    }
  }

  void accept() {
    loop_->accepts = false;
    loop_->acceptor.async_accept([this](boost::system::error_code error, ConnectionSocket socket) {
      loop_->accepts = false;
      if (error) return acceptLater();
      startConnection(std::move(socket), context_);
      accept();
    });
    loop_->accepts = true;
  }

  // Without a free descriptor, accepting fails again at once until a connection ends.
  void acceptLater() {
    loop_->pause.expires_after(pauseWithoutDescriptors);
    loop_->pause.async_wait([this](boost::system::error_code error) {
      if (!error) accept();
    });
    loop_->accepts = true;
  }

  std::mutex stopping_;
  std::unique_ptr<Loop> loop_ = std::make_unique<Loop>();  // null once stopped
  const std::shared_ptr<LoopGate> gate_ = std::make_shared<LoopGate>(loop_->context);
  ConnectionContext context_;
  std::uint16_t port_ = 0;
  std::thread thread_;
};

Result<std::unique_ptr<Server>> Server::listen(Options options) {
  const auto port = options.port;
  auto implementation = std::make_unique<Implementation>(std::move(options));
  if (const auto error = implementation->listen())
    return Error(ListenError{"cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + error.message()});
  return std::unique_ptr<Server>(new Server(std::move(implementation)));
}

Server::Server(std::unique_ptr<Implementation> implementation) : implementation_(std::move(implementation)) {}

Server::~Server() = default;

std::uint16_t Server::port() const {
  return implementation_->port();
}

std::uint64_t Server::bytesSent() const {
  return implementation_->bytesSent();
}

void Server::run(Handler handler) {
  implementation_->run(std::move(handler));
}

void Server::stop() {
  implementation_->stop();
}

}  // namespace vellora::http
