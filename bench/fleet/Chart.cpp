#include "bench/fleet/Chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>

#include "bench/fleet/Figure.h"

namespace vellora::fleet {

namespace {

constexpr double width = 860;
constexpr double height = 340;
constexpr double left = 80;
constexpr double right = 20;
constexpr double top = 62;
constexpr double bottom = 40;
constexpr double fewestLines = 3;
constexpr double mostDecades = 4;

struct Look {
  const char* colour;
  const char* dashes;
  double thickness;
};

/// From dark to light.
constexpr std::array<Look, 4> looks{
    {{"#111111", "none", 1.4}, {"#b03060", "8 3", 1.9}, {"#4f9fe0", "2 2", 2.2}, {"#e8bc50", "none", 3}}};

std::string number(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f", value);
  return text.data();
}

std::string text(double x, double y, const std::string& anchor, const std::string& words) {
  return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" text-anchor=\"" + anchor + "\">" + words +
         "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2) {
  return "<line x1=\"" + number(x1) + "\" y1=\"" + number(y1) + "\" x2=\"" + number(x2) + "\" y2=\"" +
         number(y2) + "\" stroke=\"#cccccc\"/>\n";
}

/// The least of 1, 2 and 5 times a power of ten that is no less than `value`.
double roundedUp(double value) {
  const double power = std::pow(10, std::floor(std::log10(value)));
  for (const double step : {1.0, 2.0, 5.0})
    if (step * power >= value * (1 - 1e-9)) return step * power;
  return 10 * power;
}

struct Point {
  double hour;
  double value;
};

/// Those of the hours that the chart shows.
std::vector<Point> pointsOf(const Chart::Curve& curve, const Chart& chart) {
  std::vector<Point> points;
  const auto by = static_cast<double>(chart.minutesOfPoint);
  const auto end = std::min(static_cast<std::size_t>(chart.toHour * 60), curve.minutes.size());
  for (auto first = static_cast<std::size_t>(chart.fromHour * 60); first + chart.minutesOfPoint <= end;
       first += chart.minutesOfPoint) {
    double sum = 0;
    for (std::size_t i = 0; i < chart.minutesOfPoint; ++i) sum += curve.minutes[first + i];
    points.push_back({(static_cast<double>(first) + by / 2) / 60, sum / by});
  }
  return points;
}

/// Where values and hours stand in the picture.
class Plane {
 public:
  explicit Plane(const Chart& chart) : chart_(chart) {
    const auto values = shownValues();
    const double most = values.empty() ? 1 : *std::max_element(values.begin(), values.end());
    const double least = values.empty() ? 1 : *std::min_element(values.begin(), values.end());
    if (chart.isLogarithmic) {
      highest_ = std::ceil(std::log10(most) - 1e-9);  // an x87 may give a power of ten a little more
      lowest_ = std::clamp(std::floor(std::log10(least) + 1e-9), highest_ - mostDecades, highest_ - 1);
    } else {
      step_ = roundedUp(most / fewestLines);
      highest_ = step_ * std::ceil(most / step_ * (1 - 1e-9));
    }
  }

  [[nodiscard]] double x(double hour) const {
    return left + (hour - chart_.fromHour) / (chart_.toHour - chart_.fromHour) * (width - left - right);
  }

  [[nodiscard]] double y(double value) const {
    const double at = chart_.isLogarithmic ? std::log10(std::max(value, 1e-12)) : value;
    const double share = std::clamp((at - lowest_) / (highest_ - lowest_), 0.0, 1.0);
    return height - bottom - share * (height - top - bottom);
  }

  [[nodiscard]] std::vector<double> levels() const {
    std::vector<double> found;
    const double by = chart_.isLogarithmic ? 1 : step_;
    const auto steps = std::lround((highest_ - lowest_) / by);
    for (long i = 0; i <= steps; ++i) {
      const double at = lowest_ + static_cast<double>(i) * by;
      found.push_back(chart_.isLogarithmic ? std::pow(10, at) : at);
    }
    return found;
  }

 private:
  /// Without zeros.
  [[nodiscard]] std::vector<double> shownValues() const {
    std::vector<double> values;
    for (const auto& curve : chart_.curves)
      for (const auto& point : pointsOf(curve, chart_))
        if (point.value > 0) values.push_back(point.value);
    return values;
  }

  const Chart& chart_;
  double step_ = 1;
  double lowest_ = 0;
  double highest_ = 1;
};

std::string grid(const Chart& chart, const Plane& plane) {
  std::string svg;
  for (const double level : plane.levels())
    svg += line(left, plane.y(level), width - right, plane.y(level)) +
           text(left - 8, plane.y(level) + 4, "end", figure(level));
  const double hours = chart.toHour - chart.fromHour;
  const double by = hours > 12 ? 3 : hours > 4 ? 1 : hours > 1 ? 0.5 : 0.25;
  const auto steps = static_cast<long>(hours / by);
  for (long i = 0; i <= steps; ++i) {
    const double hour = chart.fromHour + static_cast<double>(i) * by;
    std::array<char, 16> time{};
    std::snprintf(time.data(), time.size(), "%d:%02d", static_cast<int>(hour),
                  static_cast<int>(std::lround((hour - std::floor(hour)) * 60)));
    svg += line(plane.x(hour), top, plane.x(hour), height - bottom) +
           text(plane.x(hour), height - bottom + 18, "middle", time.data());
  }
  return svg;
}

std::string stroke(const Look& look) {
  return std::string(" fill=\"none\" stroke=\"") + look.colour + "\" stroke-dasharray=\"" + look.dashes +
         "\" stroke-width=\"" + number(look.thickness) + "\"/>\n";
}

std::string drawn(const std::vector<Point>& curve, const Plane& plane, const Look& look) {
  std::string points;
  for (const auto& point : curve)
    points += number(plane.x(point.hour)) + "," + number(plane.y(point.value)) + " ";
  return "<polyline points=\"" + points + "\"" + stroke(look);
}

std::string legend(const Chart::Curve& curve, std::size_t place, const Look& look) {
  const double x = left + static_cast<double>(place) * 190;
  return "<path d=\"M" + number(x) + " 42h28\"" + stroke(look) + text(x + 34, 46, "start", curve.name);
}

}  // namespace

std::string Chart::svg() const {
  const Plane plane(*this);
  std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + number(width) + " " +
                    number(height) + "\" font-family=\"sans-serif\" font-size=\"12\" role=\"img\">\n<title>" +
                    title + "</title>\n<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
  svg += "<g fill=\"#222222\">\n" + text(left, 22, "start", title + ", " + unit) + grid(*this, plane);
  for (std::size_t i = 0; i < std::min(curves.size(), looks.size()); ++i)
    svg += legend(curves[i], i, looks.at(i));
  svg += "</g>\n";
  for (std::size_t i = 0; i < std::min(curves.size(), looks.size()); ++i)
    svg += drawn(pointsOf(curves[i], *this), plane, looks.at(i));
  return svg + "</svg>\n";
}

}  // namespace vellora::fleet
