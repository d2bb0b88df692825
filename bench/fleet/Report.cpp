#include "bench/fleet/Report.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "bench/fleet/Chart.h"
#include "bench/fleet/Figure.h"
#include "bench/fleet/Fleet.h"

namespace vellora::fleet {

namespace {

using Course = Study::Course;
using Variant = Study::Variant;

constexpr std::array courses{Course::ordinary, Course::release, Course::outage};
constexpr std::array timeouts{secondsOfHour, secondsOfDay};
constexpr std::array sizes{10e3, 100e3, 1e6, 10e6};

std::string named(double timeout) {
  return timeout == secondsOfHour ? "1 hour" : "1 day";
}

/// A table row of those cells.
std::string row(const std::vector<std::string>& cells) {
  std::string line = "|";
  for (const auto& cell : cells) line += " " + cell + " |";
  return line + "\n";
}

std::string head(const std::vector<std::string>& cells) {
  return row(cells) + row(std::vector<std::string>(cells.size(), "---"));
}

/// A figure without manners, and the same with all of them.
std::string fromTo(double without, double with) {
  return figure(without) + " → " + figure(with);
}

std::string sizeTable(Study& study) {
  std::string table =
      head({"apps", "time-out", "day", "requests per second", "bytes per second", "processors"});
  for (const double apps : sizes) {
    for (const double timeout : timeouts) {
      for (const auto course : courses) {
        const auto& none = study.outcome({.course = course, .apps = apps, .timeout = timeout});
        const auto& all =
            study.outcome({.course = course, .apps = apps, .timeout = timeout, .manners = "all four"});
        table += row(
            {figure(apps), named(timeout), nameOf(course), fromTo(none.mostRequests(), all.mostRequests()),
             fromTo(none.mostBytes(), all.mostBytes()), fromTo(none.mostProcessor(), all.mostProcessor())});
      }
    }
  }
  return table;
}

std::string mannersTable(Study& study) {
  std::string table = head({"time-out", "manners", "day", "requests per second", "bytes per second",
                            "processors", "requests of the day", "bytes of the day"});
  for (const double timeout : timeouts) {
    for (const auto& manners : Study::allManners()) {
      for (const auto course : courses) {
        const auto& outcome = study.outcome({.course = course, .timeout = timeout, .manners = manners});
        table += row({named(timeout), manners, nameOf(course), figure(outcome.mostRequests()),
                      figure(outcome.mostBytes()), figure(outcome.mostProcessor()),
                      figure(outcome.allRequests), figure(outcome.allBytes)});
      }
    }
  }
  return table;
}

/// The same fleet by agents of one app each, and of several.
std::string weightTable(Study& study) {
  constexpr int days = 5;
  const double apps = std::min(sizes[0], study.mostAgents());
  std::string table =
      head({"day", "apps of an agent", "requests of the day", "bytes of the day", "requests per second"});
  for (const auto course : courses) {
    for (const double weight : {1.0, 5.0, 10.0}) {
      Outcome mean;
      double most = 0;
      for (int day = 1; day <= days; ++day) {
        auto scenario = study.scenario({.course = course, .apps = apps});
        scenario.mostAgents = scenario.apps / weight;
        scenario.seed = static_cast<std::uint64_t>(day);
        const auto outcome = Outcome::of(scenario, study.costs());
        mean.allRequests += outcome.allRequests / days;
        mean.allBytes += outcome.allBytes / days;
        most += outcome.mostRequests() / days;
      }
      table += row(
          {nameOf(course), figure(weight), figure(mean.allRequests), figure(mean.allBytes), figure(most)});
    }
  }
  return table;
}

Chart::Curve requests(Study& study, const std::string& name, const Variant& variant) {
  return {name, study.outcome(variant).requests};
}

Chart ordinaryChart(Study& study) {
  return {.title = "Requests of ten million apps on an ordinary day",
          .unit = "per second",
          .minutesOfPoint = 5,
          .curves = {requests(study, "time-out of an hour", {}),
                     requests(study, "time-out of a day", {.timeout = secondsOfDay}),
                     requests(study, "an hour, shared cache", {.manners = "shared cache"})}};
}

Chart processorChart(Study& study) {
  const auto curve = [&](Course course) {
    return Chart::Curve{nameOf(course), study.outcome({.course = course}).processor};
  };
  return {.title = "Work of the server for ten million apps, time-out of an hour",
          .unit = "processors",
          .curves = {curve(Course::ordinary), curve(Course::release), curve(Course::outage)}};
}

Chart bytesChart(Study& study) {
  const auto curve = [&](const std::string& name, double timeout, const std::string& manners) {
    return Chart::Curve{
        name, study.outcome({.course = Course::release, .timeout = timeout, .manners = manners}).bytes};
  };
  return {.title = "Bytes to and from ten million apps, release at 10:00",
          .unit = "per second",
          .fromHour = 6,
          .minutesOfPoint = 5,
          .isLogarithmic = true,
          .curves = {curve("an hour", secondsOfHour, "none"), curve("a day", secondsOfDay, "none"),
                     curve("an hour, conditional", secondsOfHour, "conditional"),
                     curve("an hour, all four, packed", secondsOfHour, "all four, packed")}};
}

Chart releaseChart(Study& study) {
  const auto curve = [&](const std::string& name, const std::string& manners) {
    return requests(study, name, {.course = Course::release, .manners = manners});
  };
  return {.title = "Requests of ten million apps, release at 10:00, time-out of an hour",
          .unit = "per second",
          .fromHour = 9,
          .toHour = 16,
          .curves = {curve("exact time-outs", "none"), curve("spread", "spread"),
                     curve("shared cache", "shared cache")}};
}

Chart outageChart(Study& study) {
  const auto curve = [&](const std::string& name, const std::string& manners) {
    return requests(study, name, {.course = Course::outage, .manners = manners});
  };
  return {.title = "Requests of ten million apps, outage from 11:00 to 12:00, time-out of an hour",
          .unit = "per second",
          .fromHour = 10,
          .toHour = 14,
          .isLogarithmic = true,
          .curves = {curve("no manners", "none"), curve("Retry-After of 60 s", "Retry-After"),
                     curve("backing off", "backing off"), curve("all four", "all four")}};
}

Chart returnChart(Study& study) {
  const auto curve = [&](const std::string& name, const std::string& manners) {
    return Chart::Curve{
        name, study.outcome({.course = Course::outage, .manners = manners, .isLimited = true}).refused};
  };
  return {.title = "Refusals by a server with half as much again as a morning needs, outage until 12:00",
          .unit = "per second",
          .fromHour = 11.75,
          .toHour = 12.25,
          .isLogarithmic = true,
          .curves = {curve("no manners", "none"), curve("Retry-After of 60 s", "Retry-After"),
                     curve("backing off", "backing off"), curve("all four", "all four")}};
}

}  // namespace

std::string costTable(const Costs& costs) {
  const auto cells = [](const std::string& name, const Cost& cost) {
    return row(
        {name, figure(cost.requestBytes), figure(cost.answerBytes), figure(cost.processor * 1e6) + " µs"});
  };
  return head({"a request that is answered with", "its bytes", "bytes of the answer", "processor time"}) +
         cells("the object types", costs.lists[0]) + cells("the themes", costs.lists[1]) +
         cells("the object types, packed", costs.packed[0]) + cells("the themes, packed", costs.packed[1]) +
         cells("that the object types have not changed", costs.unchanged[0]) +
         cells("that the themes have not changed", costs.unchanged[1]) + cells("a refusal", costs.refused);
}

std::string weekTable(Study& study) {
  std::string table = head({"time-out", "day", "bytes per second", "processors", "bytes of the day"});
  for (const double timeout : timeouts) {
    for (const auto course : {Course::ordinary, Course::release, Course::weekLater}) {
      const auto& outcome = study.outcome({.course = course, .timeout = timeout, .manners = "conditional"});
      table += row({named(timeout), nameOf(course), figure(outcome.mostBytes()),
                    figure(outcome.mostProcessor()), figure(outcome.allBytes)});
    }
  }
  return table;
}

std::string limitTable(Study& study) {
  std::string table = head({"day", "manners", "requests per second", "refused of the day",
                            "minutes until nobody is refused", "processors for the refusals"});
  for (const auto course : {Course::release, Course::outage}) {
    const double from = course == Course::release ? Study::releaseAt : Study::outage.to;
    for (const auto& manners : Study::allManners()) {
      const auto& outcome = study.outcome({.course = course, .manners = manners, .isLimited = true});
      table += row({nameOf(course), manners, figure(outcome.mostRequests()), figure(outcome.allRefused),
                    figure(outcome.minutesOfRefusalFrom(from)),
                    figure(outcome.mostRefused() * study.costs().refused.processor)});
    }
  }
  return table;
}

std::string tables(Study& study) {
  return "### One request\n\n" + costTable(study.costs()) +
         "\n### Busiest minute by size, without manners → with all four\n\n" + sizeTable(study) +
         "\n### Busiest minute and the whole day of ten million apps\n\n" + mannersTable(study) +
         "\n### Kept bodies of ten million apps that ask on condition\n\n" + weekTable(study) +
         "\n### A server with half as much again as an ordinary day needs, ten million apps, time-out of an "
         "hour\n\n" +
         limitTable(study) + "\n### Ten thousand apps by agents of other weights, mean of five seeds\n\n" +
         weightTable(study);
}

std::vector<std::pair<std::string, std::string>> pictures(Study& study) {
  return {{"ordinary.svg", ordinaryChart(study).svg()}, {"processors.svg", processorChart(study).svg()},
          {"bytes.svg", bytesChart(study).svg()},       {"release.svg", releaseChart(study).svg()},
          {"outage.svg", outageChart(study).svg()},     {"return.svg", returnChart(study).svg()}};
}

}  // namespace vellora::fleet
