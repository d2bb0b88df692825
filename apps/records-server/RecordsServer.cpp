#include "apps/records-server/RecordsServer.h"

#include <memory>
#include <utility>

#include "apps/http/Server.h"
#include "apps/records-server/Reactions.h"
#include "apps/records-server/ServerState.h"

namespace vellora::recordsserver {
namespace {

constexpr std::size_t headerBytesBesidesTarget = 32'768;

std::string urlAt(std::uint16_t port) {
  return "http://127.0.0.1:" + std::to_string(port);
}

http::Server::Options serving(const ServerOptions& options) {
  return {.port = options.port,
          .clientTimeout = options.clientTimeout,
          .maxHeaderBytes = options.maxTargetBytes + headerBytesBesidesTarget,
          .refusal = refusal};
}

}  // namespace

class RecordsServer::Implementation {
 public:
  Implementation(const DataSet& data, Options options, std::unique_ptr<http::Server> server)
      : server_(std::move(server)), state_{CurrentData(shown(data, options)), std::move(options)} {
    server_->run([this](const http::Request& request, const http::Exchange& exchange) {
      exchange.react(reactionTo(request, state_));
    });
  }

  ~Implementation() { stop(); }
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  void stop() { server_->stop(); }
  void replaceData(const DataSet& data) { state_.data.replace(shown(data, state_.options)); }
  [[nodiscard]] std::uint64_t bytesSent() const { return server_->bytesSent(); }

  ServerState& state() { return state_; }
  [[nodiscard]] std::uint16_t port() const { return server_->port(); }

 private:
  /// `data` as this server shows it.
  [[nodiscard]] DataSet shown(const DataSet& data, const Options& options) const {
    return options.servesIcons ? data.withIconsAt(urlAt(port())) : data;
  }

  const std::unique_ptr<http::Server> server_;
  ServerState state_;
};

Result<std::unique_ptr<RecordsServer>> RecordsServer::start(const DataSet& data, Options options) {
  auto server = http::Server::listen(serving(options));
  if (!server) return server.error();
  return std::unique_ptr<RecordsServer>(new RecordsServer(
      std::make_unique<Implementation>(data, std::move(options), std::move(server).value())));
}

RecordsServer::RecordsServer(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

RecordsServer::~RecordsServer() = default;

std::uint16_t RecordsServer::port() const {
  return implementation_->port();
}

std::string RecordsServer::url() const {
  return urlAt(port());
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

void RecordsServer::replaceData(const DataSet& data) {
  implementation_->replaceData(data);
}

std::uint64_t RecordsServer::bytesSent() const {
  return implementation_->bytesSent();
}

void RecordsServer::setFault(const std::string& pattern, Fault fault, std::optional<std::size_t> count) {
  implementation_->state().faults.set(pattern, fault, count);
}

void RecordsServer::clearFaults() {
  implementation_->state().faults.clear();
}

}  // namespace vellora::recordsserver
