#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vellora::recordsserver {

/// A line drawing on a square of 24 by 24 units, y growing downwards.
struct Glyph {
  struct Point {
    double x = 0;
    double y = 0;
  };
  struct Stroke {
    std::vector<Point> points;
    bool closed = false;  ///< whether a line leads from the last point back to the first
  };

  static constexpr double size = 24;
  static constexpr double lineWidth = 1.8;

  std::vector<Stroke> strokes;

  /// The drawing for an object type, whose API name is given in small letters; a plain one for unknown types.
  [[nodiscard]] static Glyph named(std::string_view type);
};

/// An SVG document of the drawing. `ink` is six hexadecimal digits.
[[nodiscard]] std::string svgOf(const Glyph& glyph, std::string_view ink);

}  // namespace vellora::recordsserver
