#include <cstddef>
#include <string>

#include "tests/Services/ServiceFixture.h"
#include "tests/support/AllocationCounter.h"

namespace vellora::tests {
namespace {

class ColdStartAllocationsTest : public ServiceFixture {
 protected:
  struct Taken {
    std::size_t allocations;
    std::size_t bytes;
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
    bodyBytes_ = objects.size() + themes.size();
    network->answer(sObjectsUrl, testkit::StubNetwork::body(R"({"sobjects":[)" + objects + "]}"));
    network->answer(themesUrl, testkit::StubNetwork::body(R"({"themeItems":[)" + themes + "]}"));
    const AllocationCounter counter;
    constructAndLoad();
    return {counter.allocations(), counter.bytes()};
  }

  std::size_t bodyBytes_ = 0;
};

TEST_F(ColdStartAllocationsTest, TakesMemoryForEachTypesListsAndKeyPrefixAndForLittleElse) {
  const Taken taken = takenByColdStart(500);
  EXPECT_EQ(service->primerState(), VelloraService::State::loaded());
  // The colours, the icons, the entry in the table of prefixes.
  EXPECT_LE(taken.allocations, 3 * 500 + 300U);
}

TEST_F(ColdStartAllocationsTest, ReadsAndWritesEachListOnce) {
  const Taken taken = takenByColdStart(500);
  EXPECT_EQ(service->primerState(), VelloraService::State::loaded());
  // The parser may ask for up to 14 times the larger text, and both are about as large; records, their texts
  // and the strings in between make up the rest. Reading or writing a list once more exceeds this.
  EXPECT_LE(taken.bytes, 13 * bodyBytes_);
}

}  // namespace
}  // namespace vellora::tests
