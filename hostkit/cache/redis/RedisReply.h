#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vellora::hostkit {

/// A command and its arguments, any bytes.
using RedisCommand = std::vector<std::string>;

/// What a Redis answers a command with.
///
/// Ownership: a plain value.
struct RedisReply {
  enum class Kind { nothing, text, number, list, error };

  Kind kind = Kind::nothing;
  std::string text = {};               ///< of a text or an error
  std::int64_t number = 0;             ///< of a number
  std::vector<RedisReply> items = {};  ///< of a list

  /// Numbers the connection that it came on, from 1; what `RedisStore` gives.
  std::uint64_t connection = 0;
};

}  // namespace vellora::hostkit
