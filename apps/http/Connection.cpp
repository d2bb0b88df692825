#include "apps/http/Connection.h"

#include <algorithm>
#include <array>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "apps/http/WayToLoop.h"

namespace vellora::http {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using Executor = asio::io_context::executor_type;
using Stream = beast::basic_stream<asio::ip::tcp, Executor>;
using Timer = asio::basic_waitable_timer<std::chrono::steady_clock,
                                         asio::wait_traits<std::chrono::steady_clock>, Executor>;
using Parser = beast::http::request_parser<beast::http::string_body>;
using HttpError = beast::http::error;

constexpr int notModified = 304;

/// The status line and headers of `response`. Content-Length is always that of the whole body, even if less
/// of the body is sent.
std::string headOf(const Response& response, bool closes) {
  const auto status = static_cast<unsigned>(response.status);
  const auto reason = beast::http::obsolete_reason(beast::http::int_to_status(status));
  std::string head =
      "HTTP/1.1 " + std::to_string(status) + " " + std::string(reason.data(), reason.size()) + "\r\n";
  if (!response.contentType.empty()) head += "Content-Type: " + response.contentType + "\r\n";
  // That of a 304 would be the length of the body that it stands for.
  if (response.status != notModified)
    head += "Content-Length: " + std::to_string(response.body.size()) + "\r\n";
  for (const auto& [name, value] : response.headers)
    head.append(name).append(": ").append(value).append("\r\n");
  return head + (closes ? "Connection: close\r\n\r\n" : "Connection: keep-alive\r\n\r\n");
}

Request received(Parser::value_type&& message) {
  Request request{std::string(message.method_string()), std::string(message.target()), {}};
  for (const auto& field : message) request.headers.emplace_back(field.name_string(), field.value());
  request.body = std::move(message.body());
  return request;
}

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(ConnectionSocket socket, ConnectionContext& context)
      : context_(context), stream_(std::move(socket)), timer_(stream_.get_executor()) {}

  void readRequest() {
    isHead_ = false;
    parser_.emplace();
    parser_->header_limit(static_cast<std::uint32_t>(context_.options.maxHeaderBytes));
    parser_->body_limit(context_.options.maxBodyBytes);
    stream_.expires_after(context_.options.clientTimeout);
    beast::http::async_read(
        stream_, buffer_, *parser_,
        [self = shared_from_this()](beast::error_code error, std::size_t) { self->readEnded(error); });
  }

 private:
  void readEnded(beast::error_code error) {
    if (error == HttpError::header_limit) return refuse(431, "The request's header is too long.");
    if (error == HttpError::body_limit) return refuse(413, "The request's body is too long.");
    if (error == HttpError::end_of_stream || error == HttpError::partial_message) return close();
    if (error.category() == make_error_code(HttpError::bad_method).category())
      return refuse(400, "The request is not HTTP.");
    if (error) return close();
    closes_ = !parser_->keep_alive();
    const auto request = http::received(parser_->release());
    isHead_ = request.method == "HEAD";
    const Exchange exchange(
        std::make_shared<WayToLoop>(context_.gate, [weak = weak_from_this()](Reaction reaction) {
          if (const auto self = weak.lock()) self->schedule(std::move(reaction));
        }));
    awaitReaction();
    context_.handler(request, exchange);
  }

  // Keeps the connection alive until there is a reaction: the waiting timer's closure owns it.
  void awaitReaction() {
    timer_.expires_at(std::chrono::steady_clock::time_point::max());
    timer_.async_wait([self = shared_from_this()](beast::error_code) {});
  }

  // Whatever comes of it, also a lack of memory: nothing but what is under way keeps the connection from now
  // on.
  void schedule(Reaction reaction) {
    timer_.cancel();
    if (reaction.delay.count() <= 0) return perform(std::move(reaction));
    timer_.expires_after(reaction.delay);
    timer_.async_wait([self = shared_from_this(), reaction = std::move(reaction)](beast::error_code) mutable {
      self->perform(std::move(reaction));
    });
  }

  void perform(Reaction reaction) {
    switch (reaction.kind) {
      case Reaction::Kind::answer:
        return send(std::move(reaction.response));
      case Reaction::Kind::drop:
        return close();
      case Reaction::Kind::stall:
        return waitForEnd();
    }
  }

  void refuse(int status, std::string_view message) {
    closes_ = true;
    send(context_.options.refusal
             ? context_.options.refusal(status, message)
             : Response{status, "text/plain;charset=UTF-8", Data(std::string(message) + "\n")});
  }

  void send(Response response) {
    response_ = std::move(response);
    if (response_.truncatedTo) closes_ = true;
    head_ = headOf(response_, closes_);
    const auto whole = isHead_ ? 0 : response_.body.size();
    const auto bytes = std::min(whole, response_.truncatedTo.value_or(whole));
    const std::array<asio::const_buffer, 2> parts{asio::buffer(head_),
                                                  asio::buffer(response_.body.data(), bytes)};
    context_.sent += head_.size() + bytes;
    stream_.expires_after(context_.options.clientTimeout);
    asio::async_write(stream_, parts, [self = shared_from_this()](beast::error_code error, std::size_t) {
      if (error || self->closes_) return self->close();
      self->readRequest();
    });
  }

  // Sends no more, but reads until the client closes the connection. Otherwise a client that is still sending
  // would get a reset instead of the last bytes of the answer.
  void close() {
    beast::error_code ignored;
    stream_.socket().shutdown(asio::socket_base::shutdown_send, ignored);
    stream_.expires_after(context_.options.clientTimeout);
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

  ConnectionContext& context_;
  Stream stream_;
  Timer timer_;
  beast::flat_buffer buffer_;
  std::optional<Parser> parser_;
  bool isHead_ = false;
  bool closes_ = false;
  Response response_;
  std::string head_;
  std::array<char, 1024> discarded_{};
};

}  // namespace

void startConnection(ConnectionSocket socket, ConnectionContext& context) {
  std::make_shared<Connection>(std::move(socket), context)->readRequest();
}

}  // namespace vellora::http
