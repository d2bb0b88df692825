#include "bindings/generate/JavaRecords.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "tests/bindings/generate/SampleRecord.h"
#include "tests/bindings/generate/WrittenFile.h"

namespace vellora::tests {

namespace {

std::string outerInJava() {
  generate::Tables tables;
  tables.add<GenerateOuter>();
  return generate::javaClass(std::move(tables).taken().back());
}

}  // namespace

TEST(JavaRecordsTest, WhatMayBeAbsentIsAnOptionalOfTheGetter) {
  EXPECT_THAT(outerInJava(), testing::HasSubstr(R"(
  public String getId() {
    return id;
  }

  public boolean isCreateable() {
    return createable;
  }

  public long getWidth() {
    return width;
  }

  public double getShare() {
    return share;
  }

  public Inner getInner() {
    return inner;
  }

  public Optional<String> getLabelPlural() {
    return Optional.ofNullable(labelPlural);
  }

  public Optional<List<Outer>> getParts() {
    return Optional.ofNullable(parts);
  }
)"));
}

TEST(JavaRecordsTest, MembersAreReadByTheirKeys) {
  EXPECT_THAT(outerInJava(), testing::HasSubstr(R"(
        case "Id":
          values.id = json.text();
          return true;
        case "createable":
          values.createable = json.bool();
          return true;
        case "width":
          values.width = json.integer();
          return true;
        case "share":
          values.share = json.number();
          return true;
        case "inner":
          values.inner = Inner.read(json);
          return true;
        case "labelPlural":
          values.labelPlural = json.orNull(JsonReader::text);
          return true;
        case "parts":
          values.parts = json.orNull(each -> each.list(Outer::read));
          return true;
)"));
}

TEST(JavaRecordsTest, WhatIsRequiredIsAskedForByItsKey) {
  EXPECT_THAT(outerInJava(), testing::HasSubstr(R"(
    id = JsonReader.required(values.id, "Id");
    createable = JsonReader.required(values.createable, "createable");
    width = JsonReader.required(values.width, "width");
    share = JsonReader.required(values.share, "share");
    inner = JsonReader.required(values.inner, "inner");
    labelPlural = values.labelPlural;
    parts = values.parts;
)"));
}

TEST(JavaRecordsTest, TheClassesInTheTreeAreInStepWithTheFieldTables) {
  for (const auto& record : generate::recordsOfAnswers()) {
    EXPECT_EQ(writtenFile("bindings/java/vellora/" + record.name + ".java"), generate::javaClass(record))
        << "build the target record-sources";
  }
}

}  // namespace vellora::tests
