#include "apps/records-server/Connection.h"

#include <algorithm>
#include <array>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "apps/records-server/Endpoints.h"
#include "apps/records-server/ErrorBody.h"

namespace vellora::recordsserver {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Executor = asio::io_context::executor_type;
using Stream = beast::basic_stream<asio::ip::tcp, Executor>;
using Timer = asio::basic_waitable_timer<std::chrono::steady_clock,
                                         asio::wait_traits<std::chrono::steady_clock>, Executor>;
using Parser = http::request_parser<http::string_body>;
using Request = http::request<http::string_body>;

constexpr std::size_t headerBytesBesidesTarget = 32'768;
constexpr std::size_t maxBodyBytes = 65'536;
constexpr std::string_view garbageBody = "{\"sobjects\": [\xff\xfe\x00 <html>, ]}";

/// An answer as it goes out.
struct Response {
  Answer answer;
  std::string extraHeaders;
  /// How much of the body is sent; the head tells the whole length in any case.
  std::size_t bytes = 0;
  bool closes = false;
};

std::string headOf(const Response& response) {
  const auto status = response.answer.status;
  const auto reason = http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status)));
  return "HTTP/1.1 " + std::to_string(status) + " " + std::string(reason.data(), reason.size()) +
         "\r\nContent-Type: application/json;charset=UTF-8\r\nContent-Length: " +
         std::to_string(response.answer.body.size()) + "\r\n" + response.extraHeaders +
         (response.closes ? "Connection: close\r\n\r\n" : "Connection: keep-alive\r\n\r\n");
}

RecordedRequest recorded(const Request& request) {
  RecordedRequest result{std::string(request.method_string()), std::string(request.target()), {}};
  for (const auto& field : request) result.headers.emplace_back(field.name_string(), field.value());
  return result;
}

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(ConnectionSocket socket, ServerState& state)
      : state_(state), stream_(std::move(socket)), timer_(stream_.get_executor()) {}

  void readRequest() {
    parser_.emplace();
    parser_->header_limit(
        static_cast<std::uint32_t>(state_.options.maxTargetBytes + headerBytesBesidesTarget));
    parser_->body_limit(maxBodyBytes);
    stream_.expires_after(state_.options.clientTimeout);
    http::async_read(
        stream_, buffer_, *parser_,
        [self = shared_from_this()](beast::error_code error, std::size_t) { self->received(error); });
  }

 private:
  void received(beast::error_code error) {
    if (error == http::error::header_limit) return refuse(431, "The request's header is too long.");
    if (error == http::error::body_limit) return refuse(413, "The request's body is too long.");
    if (error == http::error::end_of_stream || error == http::error::partial_message) return close();
    if (error.category() == http::make_error_code(http::error::bad_method).category())
      return refuse(400, "The request is not HTTP.");
    if (error) return close();
    const auto request = recorded(parser_->get());
    if (state_.options.onRequest) state_.options.onRequest(request);
    fault_ = state_.faults.take(request.target);
    if (state_.options.keepsRequests) state_.log.add(request);
    if (fault_.wait.count() <= 0) return react(request);
    timer_.expires_after(fault_.wait);
    timer_.async_wait([self = shared_from_this(), request](beast::error_code) { self->react(request); });
  }

  void react(const RecordedRequest& request) {
    if (fault_.kind == Fault::Kind::drop) return close();
    if (fault_.kind == Fault::Kind::never) return waitForEnd();
    auto response = fault_.kind == Fault::Kind::none || fault_.kind == Fault::Kind::truncate
                        ? rightResponse(request)
                        : faultyResponse();
    response.bytes = request.method == "HEAD" ? 0 : response.answer.body.size();
    response.closes = !parser_->get().keep_alive();
    if (fault_.kind == Fault::Kind::truncate) {
      response.bytes = response.bytes > 0 ? std::min(fault_.bytes, response.bytes - 1) : 0;
      response.closes = true;
    }
    send(std::move(response));
  }

  [[nodiscard]] Response rightResponse(const RecordedRequest& request) const {
    if (request.target.size() > state_.options.maxTargetBytes)
      return {Answer::error(414, "The address is too long.", "BAD_REQUEST"), ""};
    const auto& token = state_.options.token;
    if (!token.empty() && request.header("Authorization") != "Bearer " + token)
      return {Answer::error(401, "A valid bearer token is required.", "UNAUTHORIZED"),
              "WWW-Authenticate: Bearer\r\n"};
    if (request.method != "GET")
      return {Answer::error(405, "Only GET is allowed here.", "METHOD_NOT_ALLOWED"), "Allow: GET\r\n"};
    return {answerFor(request.target, state_.data), ""};
  }

  [[nodiscard]] Response faultyResponse() const {
    if (fault_.kind == Fault::Kind::garbage) return {{200, Data(std::string(garbageBody))}, ""};
    if (fault_.kind == Fault::Kind::empty) return {{200, Data()}, ""};
    return {Answer::error(fault_.status, "The server was told to fail.", "SERVER_FAULT"), ""};
  }

  void refuse(int status, std::string_view message) {
    Response response{Answer::error(status, message, "BAD_REQUEST"), ""};
    response.bytes = response.answer.body.size();
    response.closes = true;
    send(std::move(response));
  }

  void send(Response response) {
    response_ = std::move(response);
    head_ = headOf(response_);
    const std::array<asio::const_buffer, 2> parts{
        asio::buffer(head_), asio::buffer(response_.answer.body.data(), response_.bytes)};
    stream_.expires_after(state_.options.clientTimeout);
    asio::async_write(stream_, parts, [self = shared_from_this()](beast::error_code error, std::size_t) {
      if (error || self->response_.closes) return self->close();
      self->readRequest();
    });
  }

  // A client that still sends would otherwise get a reset in place of what was written last.
  void close() {
    beast::error_code ignored;
    stream_.socket().shutdown(asio::socket_base::shutdown_send, ignored);
    stream_.expires_after(state_.options.clientTimeout);
    discard();
  }

  void waitForEnd() {
    stream_.expires_never();
    discard();
  }

  void discard() {
    stream_.async_read_some(asio::buffer(discarded_),
                            [self = shared_from_this()](beast::error_code error, std::size_t) {
                              if (!error) self->discard();
                            });
  }

  ServerState& state_;
  Stream stream_;
  Timer timer_;
  beast::flat_buffer buffer_;
  std::optional<Parser> parser_;
  Fault fault_;
  Response response_;
  std::string head_;
  std::array<char, 1024> discarded_{};
};

}  // namespace

void startConnection(ConnectionSocket socket, ServerState& state) {
  std::make_shared<Connection>(std::move(socket), state)->readRequest();
}

}  // namespace vellora::recordsserver
