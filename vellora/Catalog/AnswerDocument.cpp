#include "vellora/Catalog/AnswerDocument.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/InOrderAsked.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Models/ObjectCompactLayoutInfoCodec.h"
#include "vellora/Platform/Json/JsonWriter.h"
#include "vellora/Platform/Text/Utf8.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

namespace {

template <class T>
using Entries = std::vector<const typename std::map<std::string, T>::value_type*>;

/// "2026-11-22T08:00:00Z", without fractions of a second; nothing outside of the years that have four digits.
std::optional<std::string> rfc3339(Date date) {
  constexpr double yearOne = -62135596800.0;
  constexpr double yearTenThousand = 253402300800.0;
  const double seconds = std::floor(date.secondsSince1970());
  if (!(seconds >= yearOne && seconds < yearTenThousand)) return std::nullopt;
  const std::chrono::sys_seconds moment(std::chrono::seconds(static_cast<std::int64_t>(seconds)));
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss clock(moment - day);
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(calendar.year()),
                static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return std::string(text.data());
}

std::string_view changeName(TypeChange change) {
  switch (change) {
    case TypeChange::added:
      return "added";
    case TypeChange::removed:
      return "removed";
    case TypeChange::changed:
      break;
  }
  return "changed";
}

std::string_view stateName(Readiness::Case readiness) {
  switch (readiness) {
    case Readiness::Case::loading:
      return "loading";
    case Readiness::Case::ready:
      return "ready";
    case Readiness::Case::failed:
      break;
  }
  return "failed";
}

/// Writes one answer. Each step returns whether it succeeded, as those of `json::Writer` do.
class AnswerText {
 public:
  template <class T>
  [[nodiscard]] bool answer(QuestionKind kind, const Answer<T>& answer, const Entries<T>& found,
                            const Entries<Missing>& missing) {
    return writer_.beginObject() && text("question", nameOf(kind)) && text("end", nameOf(answer.end)) &&
           list("found", found, [&](const auto& entry) { return foundEntry(answer, entry); }) &&
           list("missing", missing, [&](const auto& entry) { return missingEntry(entry); }) &&
           trouble(answer.trouble ? &*answer.trouble : nullptr) && age(answer.age) && writer_.endObject();
  }

  [[nodiscard]] bool readiness(const Readiness& readiness) {
    return writer_.beginObject() && text("question", "readiness") &&
           text("state", stateName(readiness.readinessCase())) && trouble(readiness.failure()) &&
           writer_.endObject();
  }

  [[nodiscard]] Result<Data> result(bool isWritten) const {
    if (!isWritten) return Error(writer_.error());
    return writer_.data();
  }

 private:
  [[nodiscard]] bool text(std::string_view key, std::string_view value) {
    return writer_.key(key) && (isUtf8(value) ? writer_.text(value) : writer_.text(utf8From(value)));
  }

  template <class Entry, class Write>
  [[nodiscard]] bool list(std::string_view key, const std::vector<const Entry*>& entries, Write write) {
    if (!writer_.key(key) || !writer_.beginArray()) return false;
    for (const auto* entry : entries) {
      if (!writer_.beginObject() || !text("key", entry->first) || !write(*entry) || !writer_.endObject())
        return writer_.under(utf8From(entry->first)) || writer_.under(key);
    }
    return writer_.endArray();
  }

  template <class T>
  [[nodiscard]] bool foundEntry(const Answer<T>& answer, const std::pair<const std::string, T>& entry) {
    return content(entry.second) && age(answer.ageOf(entry.first));
  }

  template <class Record>
  [[nodiscard]] bool content(const Record& record) {
    return writer_.member("record", record);
  }
  [[nodiscard]] bool content(TypeChange change) { return text("change", changeName(change)); }

  [[nodiscard]] bool missingEntry(const std::pair<const std::string, Missing>& entry) {
    const Missing& missing = entry.second;
    return text("code", nameOf(missing.why())) && text("text", missing.text()) && request(missing.failure());
  }

  [[nodiscard]] bool trouble(const Failure* failure) {
    return failure == nullptr || (writer_.key("trouble") && writer_.beginObject() &&
                                  text("text", failure->text()) && request(failure) && writer_.endObject());
  }

  [[nodiscard]] bool request(const Failure* failure) {
    const std::string url = failure != nullptr ? failure->url() : std::string();
    return url.empty() || text("request", url);
  }

  [[nodiscard]] bool age(const Age& age) {
    return fetched(age.fetched) && writer_.key("stale") && writer_.boolean(age.isStale);
  }

  [[nodiscard]] bool fetched(const std::optional<Date>& date) {
    if (!date) return true;
    if (date != lastDate_) {
      lastDate_ = date;
      lastText_ = rfc3339(*date);
    }
    return !lastText_ || text("fetched", *lastText_);
  }

  json::Writer writer_;
  std::optional<Date> lastDate_;  // most of what was found came at one moment
  std::optional<std::string> lastText_;
};

template <class T>
Result<Data> keyed(QuestionKind kind, const Answer<T>& answer, const Keys& asked) {
  AnswerText text;
  return text.result(
      text.answer(kind, answer, inOrderAsked(answer.found, asked), inOrderAsked(answer.missing, asked)));
}

template <class T>
Result<Data> unkeyed(QuestionKind kind, const Answer<T>& answer) {
  AnswerText text;
  return text.result(text.answer(kind, answer, inOrderOfKeys(answer.found), inOrderOfKeys(answer.missing)));
}

}  // namespace

Result<Data> recordsDocument(const Answer<ObjectPresentationInfo>& answer, const Keys& asked) {
  return keyed(QuestionKind::records, answer, asked);
}

Result<Data> typesDocument(const Answer<ObjectPresentationInfo>& answer, const Keys& asked) {
  return keyed(QuestionKind::types, answer, asked);
}

Result<Data> allTypesDocument(const Answer<ObjectPresentationInfo>& answer) {
  return unkeyed(QuestionKind::allTypes, answer);
}

Result<Data> searchColumnsDocument(const Answer<ObjectLayoutInfo>& answer, const Keys& asked) {
  return keyed(QuestionKind::searchColumns, answer, asked);
}

Result<Data> headlinesDocument(const Answer<ObjectCompactLayoutInfo>& answer, const Keys& asked) {
  return keyed(QuestionKind::headlines, answer, asked);
}

Result<Data> refreshDocument(const Answer<TypeChange>& answer) {
  return unkeyed(QuestionKind::refresh, answer);
}

Result<Data> readinessDocument(const Readiness& readiness) {
  AnswerText text;
  return text.result(text.readiness(readiness));
}

}  // namespace vellora
