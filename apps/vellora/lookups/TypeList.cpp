#include "apps/vellora/lookups/TypeList.h"

#include <algorithm>
#include <string>
#include <utility>

#include "apps/vellora/lookups/Presentation.h"
#include "vellora/DataServices/CacheInspection.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::command {

namespace {

using Types = Answer<ObjectPresentationInfo>;

std::string filterOf(const Arguments& arguments) {
  std::string text;
  for (const auto& word : arguments.keys) text.append(text.empty() ? "" : " ").append(word);
  return text;
}

/// As somebody looks for them: by label, in whatever case.
InOrder<ObjectPresentationInfo> byLabel(const Types& answer) {
  InOrder<ObjectPresentationInfo> types = inOrderOfKeys(answer.found);
  const auto labelOf = [](const auto* type) {
    return asciiLowerCase(type->second.typePresentationInfo.label.value_or(type->first));
  };
  std::stable_sort(types.begin(), types.end(),
                   [&](const auto* left, const auto* right) { return labelOf(left) < labelOf(right); });
  return types;
}

Verdict nothingFoundBy(const std::string& filter, CorvaneSDK::Cache& cache) {
  const auto near = nearestType(filter, cachedSObjects(cache));
  return {ExitCode::someMissing,
          {"no object type has " + keyText(filter) + " in its label or name" +
           (near ? "; did you mean " + *near + "?" : "")},
          {}};
}

Verdict verdictOnTypes(const Types& answer, const std::string& filter, const Lack& lack,
                       CorvaneSDK::Cache& cache) {
  if (!answer.found.empty()) return verdictOn(lack);
  if (answer.end == End::timedOut) return verdictOnNothing(Missing(Missing::Why::timedOut), lack);
  if (answer.trouble) return verdictOnNothing(Missing(Missing::Why::failed, *answer.trouble), lack);
  return filter.empty() ? Verdict() : nothingFoundBy(filter, cache);
}

}  // namespace

ExitCode listTypes(const Arguments& arguments, const Session& session) {
  const auto lookup = presentationOfAll();
  const auto chosen = chosenColumns(lookup.columns, arguments.output);
  if (const auto* problem = std::get_if<Problem>(&chosen)) return complain(*problem);
  const std::string filter = filterOf(arguments);
  const CommandCatalog catalog(arguments, session.api(), session.secrets());
  const auto answer = catalog.answerTo(&Catalog::allTypes, filter, questionOptions(arguments));
  const auto printed = printAnswer(lookup, answer, byLabel(answer), {}, arguments, session);
  if (printed != ExitCode::answered) return printed;
  remarkOnTheme(lookup, answer, arguments, session);
  const auto verdict = verdictOnTypes(answer, filter, lackOf(lookup, answer, arguments, session, catalog),
                                      *session.api().cache);
  return complain(verdict, *session.secrets(), arguments.output);
}

}  // namespace vellora::command
