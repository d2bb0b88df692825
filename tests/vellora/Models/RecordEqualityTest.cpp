#include <gtest/gtest.h>

#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/CompactLayoutResults.h"
#include "vellora/Models/FieldItem.h"
#include "vellora/Models/ListViewObjectRecords.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Models/ObjectQualifiedApiNameInfo.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Models/ThemeResponse.h"

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

template <json::Record T>
void change(T& value) {
  change(value.*std::get<0>(T::fields()).member);
}

template <class T>
class RecordEqualityTest : public testing::Test {};

using Records =
    testing::Types<ColorInfo, IconInfo, ThemeItem, ThemeResponse, SObject, SObjectsResponse, ListViewObject,
                   ListViewObjectRecords, LayoutComponentDetails, LayoutComponent, FieldItem,
                   ObjectCompactLayoutInfo, CompactLayoutCacheEntry, CompactLayoutResults,
                   ObjectLayoutFieldMetadata, ObjectLayoutInfo, ObjectLayoutInfoCacheEntry,
                   ObjectQualifiedApiNameInfo::Record::EntityDefinition, ObjectQualifiedApiNameInfo::Record,
                   ObjectQualifiedApiNameInfo, PresentationInfo, ObjectPresentationInfo>;
TYPED_TEST_SUITE(RecordEqualityTest, Records);

TYPED_TEST(RecordEqualityTest, RecordsDifferWhenAnyOfTheirFieldsDoes) {
  const auto differBy = [](const auto& field) {
    TypeParam other;
    EXPECT_EQ(TypeParam{}, other);
    change(other.*field.member);
    EXPECT_NE(TypeParam{}, other) << field.name;
  };
  std::apply([&](const auto&... field) { (differBy(field), ...); }, TypeParam::fields());
}

}  // namespace
}  // namespace vellora
