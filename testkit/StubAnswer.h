#pragma once

#include <optional>
#include <string>

#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace vellora::testkit {

/// What a `StubNetwork` answers a request with, and when.
///
///     StubNetwork::body("{}")                          // at once
///     StubNetwork::body("{}").held()                   // when the test releases it
///     StubNetwork::failure(Unreachable{}).with(response)
///
/// Ownership: a value; owns what it holds.
///
/// Threads: a copy may be used on any thread; one object by one thread at a time.
class VELLORA_EXPORT StubAnswer {
 public:
  /// When the completion is called.
  enum class Delivery {
    immediate,  ///< inside `sendRequest`
    held,       ///< inside a `release` call
    never,      ///< the request hangs
  };

  /// The response body `data`, and no error.
  [[nodiscard]] static StubAnswer body(Data data);

  /// `error`, and no body.
  [[nodiscard]] static StubAnswer failure(Error error);

  /// Neither body nor error.
  [[nodiscard]] static StubAnswer nothing();

  /// No completion: the request hangs.
  [[nodiscard]] static StubAnswer never();

  /// The same answer, held back until a `release` call. One that never comes still does not.
  [[nodiscard]] StubAnswer held() const;

  /// The same answer, accompanied by `response`.
  [[nodiscard]] StubAnswer with(URLResponse response) const;

  [[nodiscard]] const std::optional<Data>& data() const noexcept { return data_; }
  [[nodiscard]] const std::optional<Error>& error() const noexcept { return error_; }
  [[nodiscard]] const std::optional<URLResponse>& response() const noexcept { return response_; }
  [[nodiscard]] Delivery delivery() const noexcept { return delivery_; }

 private:
  StubAnswer() = default;

  std::optional<Data> data_;
  std::optional<Error> error_;
  std::optional<URLResponse> response_;
  Delivery delivery_ = Delivery::immediate;
};

}  // namespace vellora::testkit
