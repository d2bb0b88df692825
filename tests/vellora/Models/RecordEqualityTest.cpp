#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tests/vellora/Models/AllRecords.h"
#include "vellora/Platform/Json/Json.h"

// Other tests compare whole records. If an equality forgot a field, none of them would notice a wrong value
// in it.

namespace vellora {
namespace {

void change(std::string& value) {
  value += "x";
}

void change(bool& value) {
  value = !value;
}

void change(Date& value) {
  value = Date::sinceReferenceDate(value.secondsSinceReferenceDate() + 1);
}

void change(std::map<std::string, std::string>& value) {
  value["x"] = "x";
}

template <class T>
void change(std::vector<T>& value) {
  value.emplace_back();
}

template <class T>
void change(std::optional<T>& value) {
  value.emplace();
}

void change(PresentationInfo& value) {
  value.createable = !value.createable;
}

template <json::Record T>
void change(T& value) {
  change(value.*std::get<0>(T::fields()).member);
}

template <class T, class Member>
void change(T& value, Member T::*member) {
  change(value.*member);
}

// A name that can only be read.
void change(PresentationInfo& value, const std::string& (PresentationInfo::*)() const noexcept) {
  value = json::decode<PresentationInfo>(Data(R"({"apiName":"x","createable":false})")).value();
}

template <class T>
class RecordEqualityTest : public testing::Test {};

TYPED_TEST_SUITE(RecordEqualityTest, tests::AllRecords);

TYPED_TEST(RecordEqualityTest, RecordsDifferWhenAnyOfTheirFieldsDoes) {
  const auto differBy = [](const auto& field) {
    TypeParam other;
    EXPECT_EQ(TypeParam{}, other);
    change(other, field.member);
    EXPECT_NE(TypeParam{}, other) << field.name;
  };
  std::apply([&](const auto&... field) { (differBy(field), ...); }, TypeParam::fields());
}

}  // namespace
}  // namespace vellora
