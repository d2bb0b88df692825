#include "apps/vellora/command/Narration.h"

#include <cstddef>
#include <cstdio>
#include <string_view>

#include "apps/vellora/command/AgeText.h"

namespace vellora::command {

namespace {

std::string after(std::chrono::duration<double> time) {
  char text[64];
  std::snprintf(text, sizeof text, " after %.2f s", time.count());
  return text;
}

std::string_view wordsFor(QuestionReport::Origin origin) {
  switch (origin) {
    case QuestionReport::Origin::nowhere:
      return "";
    case QuestionReport::Origin::cache:
      return ", from the cache";
    case QuestionReport::Origin::server:
      return ", from the server";
  }
  return "";
}

}  // namespace

std::string narrationOf(const RequestReport& ended) {
  const std::string what = "GET " + ended.path + ": ";
  switch (ended.outcome) {
    case RequestReport::Outcome::body:
      return what + std::to_string(ended.bytes) + " bytes" + after(ended.time);
    case RequestReport::Outcome::error:
      return what + "failed" + after(ended.time);
    case RequestReport::Outcome::nothing:
      break;
  }
  return what + "neither body nor error" + after(ended.time);
}

std::string narrationOf(const QuestionReport& ended) {
  if (ended.question.kind == QuestionKind::refresh)
    return std::to_string(ended.found) + " changed," + after(ended.time);
  std::size_t missing = 0;
  for (const auto& [why, count] : ended.missing) missing += count;
  std::string text = std::to_string(ended.found) + " found, " + std::to_string(missing) + " missing";
  text += wordsFor(ended.origin);
  if (ended.age) text += ", " + ageWords(ended.age->count());
  return text + "," + after(ended.time);
}

std::string narrationOf(const std::string& what, std::chrono::duration<double> time) {
  return what + ": done" + after(time);
}

}  // namespace vellora::command
