#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// An error body is short. One of more bytes is not worth the memory, and nothing is read from it.
inline constexpr std::size_t largestErrorBody = 65'536;

/// What a server says about an answer that is no success: the first "message" of its error body, which is an
/// object or an array of such, else the reason phrase behind its status. As it was sent; it may be cut when
/// it is very long.
///
///     serverWords(Data(R"([{"message":"No such type.","code":"NOT_FOUND"}])"), "Not Found")  // "No such
///     type."
[[nodiscard]] std::string serverWords(const Data& body, std::string_view reasonPhrase);

/// `text`, or its beginning and "…" when it has more than `most` characters.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t most);

}  // namespace vellora::hostkit
