#include "apps/vellora/explore/Image.h"

#include <algorithm>

namespace vellora::explore {
namespace {

/// What stands before the root element of an XML document: byte order mark, blanks, declaration, comments.
std::string_view withoutProlog(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  for (;;) {
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \t\r\n")));
    const std::string_view end = text.starts_with("<?") ? "?>" : text.starts_with("<!--") ? "-->" : "";
    if (end.empty()) return text;
    const auto at = text.find(end);
    if (at == std::string_view::npos) return {};
    text.remove_prefix(at + end.size());
  }
}

bool isSvg(std::string_view bytes) {
  constexpr std::string_view root = "<svg";
  const auto document = withoutProlog(bytes);
  return document.starts_with(root) && document.size() > root.size() &&
         std::string_view(" \t\r\n>/").find(document[root.size()]) != std::string_view::npos;
}

}  // namespace

std::optional<std::string_view> imageTypeOf(std::string_view bytes) {
  if (bytes.starts_with("\x89PNG\r\n\x1a\n")) return "image/png";
  if (bytes.starts_with("\xFF\xD8\xFF")) return "image/jpeg";
  if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a")) return "image/gif";
  if (bytes.starts_with("RIFF") && bytes.substr(0, 12).ends_with("WEBP")) return "image/webp";
  if (isSvg(bytes)) return "image/svg+xml";
  return std::nullopt;
}

}  // namespace vellora::explore
