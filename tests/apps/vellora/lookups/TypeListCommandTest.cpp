#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>

#include "apps/records-server/DataFiles.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "tests/apps/vellora/changes/ChangedData.h"

namespace vellora::command {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

class TypeListCommandTest : public CommandFixture {};

TEST_F(TypeListCommandTest, ListsAllTypesByTheirLabelsInColumnsThatFitATerminal) {
  const auto ended = run({"list"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.err, "");
  const auto lines = linesOf(ended.out);
  ASSERT_THAT(lines, SizeIs(45)) << "a heading and 44 types";
  EXPECT_THAT(lines[0], StartsWith("LABEL "));
  EXPECT_THAT(lines[0], EndsWith("API NAME         PREFIX  COLOUR  CREATEABLE"));
  EXPECT_THAT(ended.out, testing::ContainsRegex("\nAccount +Account +001 +2F6FDE +yes\n"));
  for (const auto& line : lines) EXPECT_LE(line.size(), 80U) << line;
  EXPECT_THAT(server->requests(),
              UnorderedElementsAre("GET /services/data/v50.0/theme", "GET /services/data/v50.0/sobjects"));
}

TEST_F(TypeListCommandTest, CapitalLettersComeNotBeforeSmallOnes) {
  auto files = recordsserver::builtInDataFiles();
  files.objects = replaced(files.objects, R"("label": "Account")", R"("label": "bill")");
  server = RecordsServer::start(dataOf(files, folder.path() / "data")).value();
  const auto labels = linesOf(run({"-o", "tsv", "--columns", "label", "list"}).out);
  const auto place = [&](const std::string& label) {
    return std::find(labels.begin(), labels.end(), label) - labels.begin();
  };
  EXPECT_LT(place("Asset"), place("bill"));
  EXPECT_LT(place("bill"), place("Contact"));
  EXPECT_LT(static_cast<std::size_t>(place("Contact")), labels.size());
}

TEST_F(TypeListCommandTest, ATextFindsTypesByLabelPluralOrNameInAnyCase) {
  EXPECT_EQ(linesOf(run({"-o", "tsv", "--columns", "apiName", "list", "ACCOUNT"}).out).at(1), "Account");
  const auto two = run({"-o", "tsv", "--columns", "apiName", "list", "pro", "duct"});
  EXPECT_EQ(two.out, run({"-o", "tsv", "--columns", "apiName", "list", "pro duct"}).out);
  EXPECT_THAT(two.out, HasSubstr("Product"));
  EXPECT_THAT(two.out, Not(HasSubstr("Account")));
}

TEST_F(TypeListCommandTest, ATextThatFindsNothingNamesTheNearestTypeAndIsExitCodeThree) {
  const auto ended = run({"list", "Acount"});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(ended.err, "vellora: no object type has Acount in its label or name; did you mean Account?\n");
  EXPECT_EQ(run({"list", "xyzzy"}).err, "vellora: no object type has xyzzy in its label or name\n");
}

TEST_F(TypeListCommandTest, WideItHasPluralsAndIconsToo) {
  const auto ended = run({"--wide", "list", "Account"});
  EXPECT_THAT(ended.out, StartsWith("LABEL"));
  EXPECT_THAT(ended.out, HasSubstr("PLURAL"));
  EXPECT_THAT(ended.out, HasSubstr("https://icons.example/light/account.svg"));
}

TEST_F(TypeListCommandTest, ItsJsonIsADictionaryLikeThatOfNames) {
  EXPECT_EQ(run({"--json", "list", "campaign", "member"}).out,
            run({"--json", "names", "CampaignMember"}).out);
}

TEST_F(TypeListCommandTest, AServerThatIsNotThereIsExitCodeFiveOnceNothingIsCached) {
  server->stop();
  const auto ended = run({"list"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_EQ(ended.out, "");
  EXPECT_THAT(ended.err, StartsWith("vellora: no object types: no connection to 127.0.0.1:"));
}

TEST_F(TypeListCommandTest, AServerThatNeverAnswersIsExitCodeFiveWhenTheWaitRunsOut) {
  server->setFault(RecordsServer::everything, Fault::never());
  const auto [ended, wait] = runUntilAsked("/services/data/", {"list"});
  EXPECT_EQ(ended.exitCode, 5);
  EXPECT_THAT(ended.err, testing::ContainsRegex("^vellora: no object types: no answer to /services/data/"
                                                "v50.0/[a-z]* within " +
                                                wait + " s; give it longer with --wait"));
}

TEST_F(TypeListCommandTest, ADashIsATextAndStandardInputStaysUnread) {
  options.input = "Account\n";
  EXPECT_THAT(run({"list", "-"}).err, StartsWith("vellora: no object type has - in"));
}

}  // namespace
}  // namespace vellora::command
