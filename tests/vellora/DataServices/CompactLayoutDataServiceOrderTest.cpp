#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/SlowBuild.h"
#include "tests/vellora/DataServices/CompactLayoutFixture.h"

// Several downloads under way at once: every order of their events, checked against a model of the rules.

namespace vellora {
namespace {

using testkit::StubNetwork;
using tests::downloads;
using tests::SampleDownload;

enum class Course {
  succeeds,
  layoutsFail,
  namesFail,
};

struct Event {
  enum class Kind { lookup, layoutsArrive, namesArrive, release };
  Kind kind;
  std::size_t download = 0;
};

using Events = std::vector<Event>;

std::string describe(const Events& events) {
  static const char* const names[] = {"lookup", "layouts", "names", "release"};
  std::string text;
  for (const auto& event : events) {
    text.append(text.empty() ? "" : ", ").append(names[static_cast<int>(event.kind)]);
    if (event.kind != Event::Kind::release) text.append(" ").append(std::to_string(event.download));
  }
  return text;
}

/// The events of one download, in the one order in which they can happen.
Events eventsOf(std::size_t download, Course course) {
  Events events{{Event::Kind::lookup, download}, {Event::Kind::layoutsArrive, download}};
  if (course != Course::layoutsFail) events.push_back({Event::Kind::namesArrive, download});
  return events;
}

/// Calls `visit` with each way to merge the actors' events; tells how many there are.
int forEachOrder(std::vector<Events> actors, const std::function<void(const Events&)>& visit,
                 Events begun = {}) {
  int orders = 0;
  bool isComplete = true;
  for (std::size_t actor = 0; actor < actors.size(); ++actor) {
    if (actors[actor].empty()) continue;
    isComplete = false;
    auto left = actors;
    auto order = begun;
    order.push_back(left[actor].front());
    left[actor].erase(left[actor].begin());
    orders += forEachOrder(left, visit, order);
  }
  if (!isComplete) return orders;
  visit(begun);
  return 1;
}

/// What can be seen from outside.
struct Seen {
  std::vector<std::string> answers;
  std::set<std::string> cached;
  std::size_t requests = 0;

  friend bool operator==(const Seen&, const Seen&) = default;
  friend void PrintTo(const Seen& seen, std::ostream* out) {
    *out << testing::PrintToString(seen.answers) << testing::PrintToString(seen.cached) << seen.requests;
  }
};

using Courses = std::array<Course, 3>;

/// The model: all that downloads share is the slot of the pending name query.
class Model {
 public:
  explicit Model(const Courses& courses, std::optional<std::size_t> begunByTheFirstAnswer = std::nullopt)
      : courses_(courses), toBegin_(begunByTheFirstAnswer) {}

  void happen(const Event& event) {
    switch (event.kind) {
      case Event::Kind::lookup:
        return lookUp(event.download);
      case Event::Kind::layoutsArrive:
        return layoutsArrive(event.download);
      case Event::Kind::namesArrive:
        return namesArrive(event.download);
      case Event::Kind::release:
        isAlive_ = false;
        pending_.reset();
    }
  }

  [[nodiscard]] const Seen& seen() const { return seen_; }

 private:
  void lookUp(std::size_t download) {
    if (!isAlive_) return;
    awaited_.insert(download);
    ++seen_.requests;
  }

  void layoutsArrive(std::size_t download) {
    if (awaited_.erase(download) == 0) return;
    if (courses_[download] == Course::layoutsFail) return answer(download, " + network");
    if (!isAlive_) return;
    ++seen_.requests;
    pending_ = download;
  }

  void namesArrive(std::size_t download) {
    if (pending_ != download) return;
    pending_.reset();
    if (courses_[download] == Course::namesFail) return answer(download, downloads[download].asSent);
    answer(download, downloads[download].rewritten);
    seen_.cached.insert(downloads[download].type);
  }

  void answer(std::size_t download, const std::string& text) {
    seen_.answers.push_back(std::to_string(download) + ": " + text);
    if (download == 0 && toBegin_) lookUp(*toBegin_);
  }

  const Courses courses_;
  const std::optional<std::size_t> toBegin_;
  bool isAlive_ = true;
  std::set<std::size_t> awaited_;
  std::optional<std::size_t> pending_;
  Seen seen_;
};

/// The service, driven by events: it stands on doubles whose every answer waits for its event.
class DrivenService {
 public:
  explicit DrivenService(const Courses& courses,
                         std::optional<std::size_t> begunByTheFirstAnswer = std::nullopt)
      : toBegin_(begunByTheFirstAnswer) {
    for (std::size_t i = 0; i < downloads.size(); ++i) {
      const auto answer = [&](Course failure, const std::string& body) {
        return (courses[i] == failure ? StubNetwork::nothing() : StubNetwork::body(body)).held();
      };
      network_->answer(downloads[i].layoutsUrl, answer(Course::layoutsFail, downloads[i].layouts));
      network_->answer(downloads[i].namesUrl, answer(Course::namesFail, downloads[i].names));
    }
  }

  void happen(const Event& event) {
    switch (event.kind) {
      case Event::Kind::lookup:
        return lookUp(event.download);
      case Event::Kind::layoutsArrive:
        network_->release(downloads[event.download].layoutsUrl);
        return;
      case Event::Kind::namesArrive:
        network_->release(downloads[event.download].namesUrl);
        return;
      case Event::Kind::release:
        service_.reset();
    }
  }

  [[nodiscard]] Seen seen() const {
    Seen seen{answers_, {}, network_->count()};
    for (const auto& download : downloads) {
      if (isCachedRewritten(download)) seen.cached.insert(download.type);
    }
    return seen;
  }

 private:
  void lookUp(std::size_t download) {
    if (!service_) return;
    service_->compactLayoutForApiName(
        {downloads[download].type}, [this, download](const auto& layouts, const auto& error) {
          answers_.push_back(std::to_string(download) + ": " + tests::answerText(layouts, error));
          if (download == 0 && toBegin_) lookUp(*toBegin_);
        });
  }

  [[nodiscard]] bool isCachedRewritten(const SampleDownload& download) const {
    const auto blob = cache_->load("OPS_CompactLayout_" + download.type);
    if (!blob) return false;
    const auto entry = json::decode<CompactLayoutCacheEntry>(*blob);
    EXPECT_TRUE(entry);
    EXPECT_EQ(tests::answerText(std::vector{entry.value().compactLayout}, std::nullopt), download.rewritten);
    return true;
  }

  const std::optional<std::size_t> toBegin_;
  const std::shared_ptr<StubNetwork> network_ = std::make_shared<StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache_ = std::make_shared<hostkit::MemoryCache>();
  std::shared_ptr<CompactLayoutDataService> service_ = std::make_shared<CompactLayoutDataService>(
      RequiredAPI{network_, cache_, std::make_shared<testkit::RecordingLogger>()}, 3600);
  std::vector<std::string> answers_;
};

/// Lets the events happen to both, and compares them after each one.
void check(const Events& events, DrivenService& service, Model& model) {
  for (std::size_t i = 0; i < events.size(); ++i) {
    service.happen(events[i]);
    model.happen(events[i]);
    ASSERT_EQ(service.seen(), model.seen()) << "after event " << i << " of: " << describe(events);
  }
}

const std::vector<Course> allCourses{Course::succeeds, Course::layoutsFail, Course::namesFail};

TEST(CompactLayoutDataServiceOrderTest, TwoDownloadsInEveryOrderAndCourse) {
  int orders = 0;
  for (const auto first : allCourses) {
    for (const auto second : allCourses) {
      const Courses courses{first, second, Course::succeeds};
      orders += forEachOrder({eventsOf(0, first), eventsOf(1, second)}, [&](const Events& events) {
        DrivenService service(courses);
        Model model(courses);
        check(events, service, model);
      });
    }
  }
  EXPECT_EQ(orders, 4 * 20 + 4 * 10 + 6);
}

TEST(CompactLayoutDataServiceOrderTest, TwoDownloadsAndTheReleaseOfTheServiceInEveryOrderAndCourse) {
  int orders = 0;
  for (const auto first : allCourses) {
    for (const auto second : allCourses) {
      const Courses courses{first, second, Course::succeeds};
      const std::vector<Events> actors{eventsOf(0, first), eventsOf(1, second), {{Event::Kind::release}}};
      orders += forEachOrder(actors, [&](const Events& events) {
        DrivenService service(courses);
        Model model(courses);
        check(events, service, model);
      });
    }
  }
  EXPECT_EQ(orders, 4 * 20 * 7 + 4 * 10 * 6 + 6 * 5);
}

using TwoCourses = std::tuple<Course, Course>;

std::string nameOf(const testing::TestParamInfo<TwoCourses>& courses) {
  static const char* const names[] = {"Succeeds", "LayoutsFail", "NamesFail"};
  const auto [second, third] = courses.param;
  return std::string("Second") + names[static_cast<int>(second)] + "Third" + names[static_cast<int>(third)];
}

/// Which orders of three downloads are tried: each one, or each fifth.
constexpr int stepOfOrders = tests::codeIsSlow ? 5 : 1;

/// One test for each course of the second and the third download, since each takes a while.
class CompactLayoutDataServiceThreeOrdersTest : public testing::TestWithParam<TwoCourses> {};

TEST_P(CompactLayoutDataServiceThreeOrdersTest, ThreeDownloadsInEveryOrderAndCourse) {
  const auto [second, third] = GetParam();
  int orders = 0;
  for (const auto first : allCourses) {
    const Courses courses{first, second, third};
    const std::vector<Events> actors{eventsOf(0, first), eventsOf(1, second), eventsOf(2, third)};
    int order = 0;
    orders += forEachOrder(actors, [&](const Events& events) {
      if (order++ % stepOfOrders != 0) return;
      DrivenService service(courses);
      Model model(courses);
      check(events, service, model);
    });
  }
  // Whose layouts fail, asks for no names: it has two events and not three.
  const auto isShort = [](Course course) { return course == Course::layoutsFail ? 1 : 0; };
  const std::array<int, 4> ordersOfShort{1680, 560, 210, 90};
  const auto others = static_cast<std::size_t>(isShort(second) + isShort(third));
  EXPECT_EQ(orders, 2 * ordersOfShort.at(others) + ordersOfShort.at(others + 1));
}

INSTANTIATE_TEST_SUITE_P(LaterDownloads, CompactLayoutDataServiceThreeOrdersTest,
                         testing::Combine(testing::ValuesIn(allCourses), testing::ValuesIn(allCourses)),
                         nameOf);

TEST(CompactLayoutDataServiceOrderTest, TwoDownloadsAndAThirdThatTheFirstAnswerBeginsInEveryOrderAndCourse) {
  int orders = 0;
  for (const auto first : allCourses) {
    for (const auto third : allCourses) {
      const Courses courses{first, Course::succeeds, third};
      auto eventsOfThird = eventsOf(2, third);
      eventsOfThird.erase(eventsOfThird.begin());
      const std::vector<Events> actors{eventsOf(0, first), eventsOf(1, Course::succeeds), eventsOfThird};
      int order = 0;
      orders += forEachOrder(actors, [&](const Events& events) {
        if (order++ % stepOfOrders != 0) return;
        DrivenService service(courses, 2);
        Model model(courses, 2);
        check(events, service, model);
      });
    }
  }
  EXPECT_EQ(orders, 4 * 560 + 2 * 140 + 2 * 210 + 60);
}

}  // namespace
}  // namespace vellora
