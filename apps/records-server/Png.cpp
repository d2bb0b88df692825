#include "apps/records-server/Png.h"

#include <zlib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vellora::recordsserver {
namespace {

using Point = Glyph::Point;

double distance(Point point, Point from, Point to) {
  const Point along{to.x - from.x, to.y - from.y};
  const double square = along.x * along.x + along.y * along.y;
  const double way = ((point.x - from.x) * along.x + (point.y - from.y) * along.y) / square;
  const double at = square > 0 ? std::clamp(way, 0.0, 1.0) : 0.0;
  return std::hypot(point.x - from.x - at * along.x, point.y - from.y - at * along.y);
}

double distance(Point point, const Glyph& glyph) {
  double least = std::numeric_limits<double>::max();
  for (const auto& [points, closed] : glyph.strokes) {
    if (closed) least = std::min(least, distance(point, points.back(), points.front()));
    for (std::size_t i = 1; i < points.size(); ++i)
      least = std::min(least, distance(point, points[i - 1], points[i]));
  }
  return least;
}

std::string bigEndian(std::uint32_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xFFU);
  return bytes;
}

std::string chunk(const std::string& type, const std::string& content) {
  const auto body = type + content;
  const auto sum = ::crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
  return bigEndian(static_cast<std::uint32_t>(content.size())) + body +
         bigEndian(static_cast<std::uint32_t>(sum));
}

std::string compressed(const std::string& bytes) {
  auto size = ::compressBound(static_cast<uLong>(bytes.size()));
  std::string result(size, '\0');
  ::compress(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
             static_cast<uLong>(bytes.size()));
  result.resize(size);
  return result;
}

}  // namespace

std::string pngOf(const Glyph& glyph, std::string_view ink, unsigned pixels) {
  std::uint32_t colour = 0;
  std::from_chars(ink.data(), ink.data() + ink.size(), colour, 16);
  const auto opaque = bigEndian(colour).substr(1);
  const double unit = Glyph::size / pixels;
  std::string lines;
  for (unsigned row = 0; row < pixels; ++row) {
    lines += '\0';  // unfiltered
    for (unsigned column = 0; column < pixels; ++column) {
      const double away = distance({(column + 0.5) * unit, (row + 0.5) * unit}, glyph);
      const double cover = std::clamp(0.5 + (Glyph::lineWidth / 2 - away) / unit, 0.0, 1.0);
      lines += opaque;
      lines += static_cast<char>(static_cast<unsigned char>(std::lround(cover * 255)));
    }
  }
  const std::string rgbaOfEightBits{8, 6, 0, 0, 0};
  return "\x89PNG\r\n\x1a\n" + chunk("IHDR", bigEndian(pixels) + bigEndian(pixels) + rgbaOfEightBits) +
         chunk("IDAT", compressed(lines)) + chunk("IEND", "");
}

}  // namespace vellora::recordsserver
