#include <cstddef>
#include <string>

#include "tests/support/AllocationCounter.h"
#include "tests/support/ParsedBytes.h"
#include "tests/vellora/Services/ServiceFixture.h"

namespace vellora::tests {
namespace {

class ColdStartAllocationsTest : public ServiceFixture {
 protected:
  struct Taken {
    std::size_t allocations;
    std::size_t bytes;
    std::size_t parsed;  ///< bytes of JSON
  };

  /// What a cold start takes when the server has `types` types, with an icon and a colour each.
  Taken takenByColdStart(std::size_t types) {
    std::string objects;
    std::string themes;
    for (std::size_t index = 0; index < types; ++index) {
      const std::string comma = index > 0 ? "," : "";
      const std::string name = "T" + std::to_string(index);
      objects += comma + R"({"name":")" + name + R"(","keyPrefix":")" + std::to_string(100 + index) +
                 R"(","label":"Type","labelPlural":"Types","createable":true})";
      themes += comma + R"({"name":")" + name +
                R"(","colors":[{"color":"FF0000","context":"primary","theme":"light"}],)"
                R"("icons":[{"contentType":"image/png","theme":"light","url":"/a.png","width":16}]})";
    }
    objects = R"({"sobjects":[)" + objects + "]}";
    themes = R"({"themeItems":[)" + themes + "]}";
    bodyBytes_ = objects.size() + themes.size();
    network->answer(sObjectsUrl, testkit::StubNetwork::body(objects));
    network->answer(themesUrl, testkit::StubNetwork::body(themes));
    const AllocationCounter counter;
    const ParsedBytes parsed;
    constructAndLoad();
    return {counter.allocations(), counter.bytes(), parsed.count()};
  }

  std::size_t bodyBytes_ = 0;
};

TEST_F(ColdStartAllocationsTest, TakesMemoryForEachTypesListsAndKeyPrefixAndForLittleElse) {
  const Taken taken = takenByColdStart(500);
  EXPECT_EQ(service->primerState(), VelloraService::State::loaded());
  // The colours, the icons, the entry in the table of prefixes.
  EXPECT_LE(taken.allocations, 3 * 500 + 350U);
}

TEST_F(ColdStartAllocationsTest, ParsesEachListOnceAndNothingElse) {
  const Taken taken = takenByColdStart(500);
  EXPECT_EQ(service->primerState(), VelloraService::State::loaded());
  EXPECT_EQ(taken.parsed, bodyBytes_);
}

TEST_F(ColdStartAllocationsTest, WritesEachListOnce) {
  const Taken taken = takenByColdStart(500);
  EXPECT_EQ(service->primerState(), VelloraService::State::loaded());
  // Each list's parser asks for up to 14 times its text, and gives it back; records, and texts that grow
  // while they are written, make up the rest. Writing a list once more exceeds this.
  EXPECT_LE(taken.bytes, bodyBytes_ * 43 / 2);
}

}  // namespace
}  // namespace vellora::tests
