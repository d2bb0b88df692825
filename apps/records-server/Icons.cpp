#include "apps/records-server/Icons.h"

#include <charconv>

#include "apps/records-server/Glyph.h"
#include "apps/records-server/Png.h"

namespace vellora::recordsserver {
namespace {

constexpr std::string_view folder = "/icons/";
constexpr unsigned largestWidth = 256;

/// Themes with pale colours want dark lines on them.
std::string_view inkOf(std::string_view theme) {
  return theme == "dark" ? "14171f" : "ffffff";
}

}  // namespace

std::optional<Icon> iconAt(std::string_view path) {
  if (!path.starts_with(folder)) return std::nullopt;
  path.remove_prefix(folder.size());
  const auto slash = path.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto ink = inkOf(path.substr(0, slash));
  const auto file = path.substr(slash + 1);
  const auto glyph = Glyph::named(file.substr(0, file.find_first_of("_.")));
  if (file.ends_with(".svg")) return Icon{"image/svg+xml", Data(svgOf(glyph, ink))};
  const auto mark = file.find('_');
  if (!file.ends_with(".png") || mark == std::string_view::npos) return std::nullopt;
  unsigned width = 0;
  std::from_chars(file.data() + mark + 1, file.data() + file.size(), width);
  if (width == 0 || width > largestWidth) return std::nullopt;
  return Icon{"image/png", Data(pngOf(glyph, ink, width))};
}

}  // namespace vellora::recordsserver
