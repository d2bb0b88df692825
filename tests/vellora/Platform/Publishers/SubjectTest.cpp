#include "vellora/Platform/Publishers/Subject.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>

#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora {
namespace {

TEST(SubjectTest, DestroyingTheSubjectLetsGoOfItsSubscribersAlsoWhenAPublisherIsKept) {
  const auto held = std::make_shared<int>(0);
  std::optional<Subject<int>> subject(std::in_place);
  const Publisher<int> kept = subject->publisher();
  kept.sink([held](int) {}).detach();
  EXPECT_EQ(held.use_count(), 2);
  subject.reset();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(SubjectTest, APublisherThatOutlivesTheSubjectNeitherYieldsNorEnds) {
  std::optional<Subject<int>> subject(std::in_place);
  const Publisher<int> kept = subject->publisher();
  subject.reset();
  const auto token = kept.sink([](int) { ADD_FAILURE() << "a value"; },
                               [](const Completion&) { ADD_FAILURE() << "an end"; });
}

}  // namespace
}  // namespace vellora
