#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Platform/Values/Data.h"

namespace vellora::http {

/// What a request is answered with. The server adds the headers about length and connection itself.
struct Response {
  int status = 200;
  std::string contentType = {};  ///< empty: the answer has no such header
  Data body = {};
  std::vector<std::pair<std::string, std::string>> headers = {};
  /// When given, the connection ends after so many bytes of the body, whose whole length is announced.
  std::optional<std::size_t> truncatedTo = std::nullopt;
};

/// What becomes of a request.
struct Reaction {
  enum class Kind {
    answer,  ///< with `response`
    drop,    ///< the connection ends without an answer
    stall,   ///< there is never an answer; the connection stays until the client ends it
  };

  Kind kind = Kind::answer;
  Response response = {};
  std::chrono::milliseconds delay{0};  ///< how long that takes
};

}  // namespace vellora::http
