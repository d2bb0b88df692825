#include "apps/records-server/Glyph.h"

#include <cmath>
#include <map>
#include <numbers>
#include <sstream>

namespace vellora::recordsserver {
namespace {

// M x y begins a stroke, L x y continues it, Z closes it; O x y r is a circle; A x y r from to is an arc in
// degrees, clockwise, that continues a stroke or begins one.
const std::map<std::string_view, const char*> drawings{
    {"account",
     "M5 21 L5 4 L15 4 L15 21 M15 10 L20 10 L20 21 M3 21 L21 21 M8.5 8 L11.5 8 M8.5 12 L11.5 12 M8.5 16 "
     "L11.5 16"},
    {"asset", "M12 3 L20 7.5 L20 16.5 L12 21 L4 16.5 L4 7.5 Z M4 7.5 L12 12 L20 7.5 M12 12 L12 21"},
    {"attachment",
     "M16.5 8 L16.5 16.5 A12 16.5 4.5 0 180 L7.5 7 A10.5 7 3 180 360 L13.5 16 A12 16 1.5 0 180 L10.5 9"},
    {"campaign", "M4 10 L4 14 L8 14 L18 19 L18 5 L8 10 Z M8 14 L9.5 20 L12.5 20 L11 15.5 M21 10.5 L21 13.5"},
    {"campaigncontact", "O9 9 3.5 M3 20.5 A9 20.5 6 180 360 M18.5 20 L18.5 5 L22.5 7.5 L18.5 10"},
    {"case", "M4 8 L20 8 L20 19 L4 19 Z M9 8 L9 5 L15 5 L15 8 M4 13 L20 13"},
    {"celebration",
     "M12 3 L12 7 M12 17 L12 21 M3 12 L7 12 M17 12 L21 12 M5.6 5.6 L8.5 8.5 M15.5 15.5 L18.4 18.4 "
     "M5.6 18.4 L8.5 15.5 M15.5 8.5 L18.4 5.6"},
    {"comment", "M4 5 L20 5 L20 16 L12 16 L7 20 L7 16 L4 16 Z M8 9 L16 9 M8 12 L13 12"},
    {"contact",
     "M3 5 L21 5 L21 19 L3 19 Z O9 10 2 M5.5 16 A9 16 3.5 180 360 M15.5 10 L18 10 M15.5 14 L18 14"},
    {"container", "M3 7 L21 7 L21 18 L3 18 Z M7.5 7 L7.5 18 M12 7 L12 18 M16.5 7 L16.5 18"},
    {"contract",
     "M6 3 L14 3 L18 7 L18 21 L6 21 Z M14 3 L14 7 L18 7 M9 11 L15 11 M9 17 L10.5 15 L12 17 L13.5 15 L15 17"},
    {"dashboard", "A12 15 9 160 380 M12 15 L16 9.5 O12 15 1.2"},
    {"deliverystop", "A12 10 6.5 150 390 L12 21.5 Z M9.8 7.8 L14.2 7.8 L14.2 12.2 L9.8 12.2 Z"},
    {"department",
     "M9 3 L15 3 L15 8 L9 8 Z M3 16 L9 16 L9 21 L3 21 Z M15 16 L21 16 L21 21 L15 21 Z M12 8 L12 12 "
     "M6 16 L6 12 L18 12 L18 16"},
    {"document", "M6 3 L14 3 L18 7 L18 21 L6 21 Z M14 3 L14 7 L18 7 M9 12 L15 12 M9 16 L15 16"},
    {"driver", "O12 12 9 O12 12 2.2 M12 14.2 L12 21 M9.9 11.4 L3.4 9.5 M14.1 11.4 L20.6 9.5"},
    {"employee", "M6 6 L18 6 L18 21 L6 21 Z M12 3 L12 8.5 O12 12.5 1.9 M8.8 18.3 A12 18.3 3.2 180 360"},
    {"event", "M4 6 L20 6 L20 20 L4 20 Z M4 10.5 L20 10.5 M8 3.5 L8 7.5 M16 3.5 L16 7.5 M8 15 L11 15"},
    {"invoice", "M6 3 L18 3 L18 21 L16 19.3 L14 21 L12 19.3 L10 21 L8 19.3 L6 21 Z M9 8 L15 8 M9 12 L15 12"},
    {"invoiceline", "M4 6 L20 6 M4 12 L12 12 M4 18 L12 18 M16 12 L20 12 M16 18 L20 18"},
    {"listview", "O4.5 6 0.8 O4.5 12 0.8 O4.5 18 0.8 M9 6 L20 6 M9 12 L20 12 M9 18 L20 18"},
    {"location", "A12 10 6.5 150 390 L12 21.5 Z O12 10 2.3"},
    {"note", "M4 4 L20 4 L20 14 L14 20 L4 20 Z M20 14 L14 14 L14 20 M8 9 L16 9"},
    {"order", "M3 4 L6 4 L8.5 15 L18.5 15 L20.5 7.5 L7 7.5 O9.5 19 1.4 O17.5 19 1.4"},
    {"payment", "M3 6 L21 6 L21 18 L3 18 Z M3 10 L21 10 M6.5 14.5 L10 14.5"},
    {"permit",
     "M12 3 L19.5 6 L19.5 12 L16.5 17.5 L12 21 L7.5 17.5 L4.5 12 L4.5 6 Z M8.5 12 L11 14.5 L15.5 9.5"},
    {"product", "M3.5 11.5 L11.5 3.5 L20.5 3.5 L20.5 12.5 L12.5 20.5 Z O16 8 1.5"},
    {"project", "M4 4 L20 4 L20 20 L4 20 Z M8.5 8 L8.5 16 M12 8 L12 12.5 M15.5 8 L15.5 14.5"},
    {"quote", "M10 12 L6 12 L6 7 L10 7 L10 14 L7 17 M18 12 L14 12 L14 7 L18 7 L18 14 L15 17"},
    {"report", "M4 4 L4 20 L20 20 M8.5 16 L8.5 12 M12.5 16 L12.5 7 M16.5 16 L16.5 10"},
    {"shipment",
     "M5 17 L2.5 17 L2.5 6 L14 6 L14 17 L9 17 M14 10 L18.5 10 L21.5 13 L21.5 17 L19.5 17 M14 17 L15.5 17 "
     "O7 17.5 2 O17.5 17.5 2"},
    {"supplier", "M3 20 L3 10 L9 13.5 L9 10 L15 13.5 L15 4 L20 4 L20 20 Z M7 17 L8.5 17 M12 17 L13.5 17"},
    {"survey",
     "M6 5 L18 5 L18 21 L6 21 Z M9.5 3 L14.5 3 L14.5 7 L9.5 7 Z M9 12 L10.3 13.3 L12.5 10.8 M9 17 L15 17"},
    {"task", "O12 12 9 M8 12.3 L11 15.2 L16.2 9.3"},
    {"team", "O9 8.5 3.3 M3 20 A9 20 6 180 360 O17 7.5 2.5 A17 18.4 4.6 262 360"},
    {"trip", "O6 18 2.2 O18 6 2.2 M8.2 18 L15 18 L17.5 15.5 L15 12.7 L9 11.3 L6.5 8.5 L9 6 L15.8 6"},
    {"user", "O12 8 4 M4 21 A12 21 8 180 360"},
    {"vehicle",
     "M5.5 17 L3 17 L3 12 L5.5 11 L8 6.5 L16 6.5 L18.5 11 L21 12 L21 17 L18.5 17 M5.5 11 L18.5 11 "
     "M9.5 17 L14.5 17 O7.5 17 2 O16.5 17 2"},
    {"warehouse", "M3 20 L3 9 L12 4 L21 9 L21 20 M7 20 L7 12 L17 12 L17 20 M7 16 L17 16"},
};

constexpr const char* plainDrawing = "M5 5 L19 5 L19 19 L5 19 Z O12 12 3";

/// Angles are in degrees, clockwise from three o'clock.
struct Arc {
  Glyph::Point centre;
  double radius = 0;
  double from = 0;
  double to = 0;

  [[nodiscard]] Glyph::Point at(double degrees) const {
    const double angle = degrees * std::numbers::pi / 180;
    return {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
  }
};

class Drawer {
 public:
  explicit Drawer(const char* drawing) : words_(drawing) {}

  [[nodiscard]] Glyph draw() {
    for (char command = 0; words_ >> command;) take(command);
    return std::move(glyph_);
  }

 private:
  void take(char command) {
    if (command == 'M') begin();
    if (command == 'M' || command == 'L') add(Glyph::Point{number(), number()});
    if (command == 'Z') end(true);
    if (command == 'O') {
      begin();
      add(Arc{{number(), number()}, number(), 0, 360});
      end(true);
    }
    if (command == 'A') {
      if (!isOpen_) begin();
      add(Arc{{number(), number()}, number(), number(), number()});
    }
  }

  double number() {
    double value = 0;
    words_ >> value;
    return value;
  }

  void begin() {
    glyph_.strokes.emplace_back();
    isOpen_ = true;
  }

  void end(bool closed) {
    glyph_.strokes.back().closed = closed;
    isOpen_ = false;
  }

  void add(Glyph::Point point) { glyph_.strokes.back().points.push_back(point); }

  void add(const Arc& arc) {
    constexpr double step = 12;
    // NOLINTNEXTLINE(clang-analyzer-security.FloatLoopCounter): a point more or less is not seen
    for (double degrees = arc.from; degrees < arc.to; degrees += step) add(arc.at(degrees));
    add(arc.at(arc.to));
  }

  std::istringstream words_;
  Glyph glyph_;
  bool isOpen_ = false;
};

}  // namespace

Glyph Glyph::named(std::string_view type) {
  const auto found = drawings.find(type);
  return Drawer(found == drawings.end() ? plainDrawing : found->second).draw();
}

std::string svgOf(const Glyph& glyph, std::string_view ink) {
  std::ostringstream svg;
  svg.precision(4);
  svg << R"(<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" viewBox="0 0 24 24"><path fill="none" stroke="#)"
      << ink << R"(" stroke-width=")" << Glyph::lineWidth
      << R"(" stroke-linecap="round" stroke-linejoin="round" d=")";
  for (const auto& stroke : glyph.strokes) {
    char command = 'M';
    for (const auto& point : stroke.points) {
      svg << command << point.x << ' ' << point.y;
      command = 'L';
    }
    if (stroke.closed) svg << 'Z';
  }
  svg << "\"/></svg>\n";
  return svg.str();
}

}  // namespace vellora::recordsserver
