#pragma once

#include <string>
#include <string_view>

namespace vellora::hostkit {

/// `text` on one line and without `token`, for the text of an error.
///
/// Every run of six or more characters that also stands in `token` becomes "[token]", whatever the case of
/// its letters: a server may send the token back as the name of a host. A shorter run stays, since a text and
/// a token share one by chance. A token of fewer than six characters is replaced where it stands whole. Each
/// control character becomes a blank. An empty `token` stands for none.
///
///     redacted("no host SECRET99x.example", "abc-secret99-xyz")  // "no host [token]x.example"
[[nodiscard]] std::string redacted(std::string_view text, std::string_view token);

}  // namespace vellora::hostkit
