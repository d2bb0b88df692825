#include "bindings/generate/RecordTable.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/bindings/generate/SampleRecord.h"

namespace vellora::tests {

namespace {

using generate::MemberType;

std::string wordFor(const MemberType& type) {
  switch (type.kind) {
    case MemberType::Kind::text:
      return "text";
    case MemberType::Kind::boolean:
      return "boolean";
    case MemberType::Kind::integer:
      return "integer";
    case MemberType::Kind::number:
      return "number";
    case MemberType::Kind::record:
      return type.record;
    case MemberType::Kind::list:
      return "list of " + wordFor(*type.of);
    case MemberType::Kind::optional:
      break;
  }
  return "maybe " + wordFor(*type.of);
}

std::vector<std::string> linesOf(const generate::RecordTable& table) {
  std::vector<std::string> lines;
  for (const auto& record : table) {
    for (const auto& member : record.members)
      lines.push_back(record.name + "." + member.name + " (" + member.key + "): " + wordFor(member.type));
  }
  return lines;
}

}  // namespace

TEST(RecordTableTest, HasEachMemberInItsOrderAndTheRecordsThatItNeedsFirst) {
  generate::Tables tables;
  tables.add<GenerateOuter>();
  tables.add<GenerateInner>();

  EXPECT_EQ(linesOf(std::move(tables).taken()),
            (std::vector<std::string>{
                "Inner.text (text): text", "Outer.id (Id): text", "Outer.createable (createable): boolean",
                "Outer.width (width): integer", "Outer.share (share): number", "Outer.inner (inner): Inner",
                "Outer.labelPlural (labelPlural): maybe text", "Outer.parts (parts): maybe list of Outer"}));
}

TEST(RecordTableTest, AnswersConsistOfSixRecords) {
  std::vector<std::string> names;
  for (const auto& record : generate::recordsOfAnswers()) names.push_back(record.name);

  EXPECT_EQ(names, (std::vector<std::string>{"PresentationInfo", "ObjectPresentationInfo",
                                             "ObjectLayoutFieldMetadata", "ObjectLayoutInfo",
                                             "CompactLayoutField", "ObjectCompactLayoutInfo"}));
}

}  // namespace vellora::tests
