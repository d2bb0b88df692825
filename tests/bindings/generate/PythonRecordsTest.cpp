#include "bindings/generate/PythonRecords.h"

#include <gmock/gmock.h>

#include <utility>

#include "tests/bindings/generate/SampleRecord.h"
#include "tests/bindings/generate/WrittenFile.h"

namespace vellora::tests {

TEST(PythonRecordsTest, AMemberBecomesAFieldOfAFrozenDataclass) {
  generate::Tables tables;
  tables.add<GenerateOuter>();

  EXPECT_THAT(generate::pythonModule(std::move(tables).taken()), testing::EndsWith(R"(
@dataclass(frozen=True, slots=True, kw_only=True)
class Outer:
    """The record `Outer` of the library."""

    id: str
    createable: bool
    width: int
    share: float
    inner: Inner
    label_plural: str | None = None
    parts: tuple[Outer, ...] | None = None

    @classmethod
    def from_json(cls, json: dict[str, Any]) -> Outer:
        """Makes one of what the library writes, once that is decoded."""
        return cls(
            id=json["Id"],
            createable=json["createable"],
            width=json["width"],
            share=float(json["share"]),
            inner=Inner.from_json(json["inner"]),
            label_plural=json.get("labelPlural"),
            parts=None if json.get("parts") is None else tuple(Outer.from_json(each) for each in json["parts"]),
        )
)"));
}

TEST(PythonRecordsTest, TheModuleInTheTreeIsInStepWithTheFieldTables) {
  EXPECT_EQ(writtenFile("bindings/python/vellora/records.py"),
            generate::pythonModule(generate::recordsOfAnswers()))
      << "build the target record-sources";
}

}  // namespace vellora::tests
