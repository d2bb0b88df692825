#include "bindings/c/AnswerHandle.h"

#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bindings/c/Border.h"
#include "bindings/c/Texts.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/InOrderAsked.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Models/CompactLayoutField.h"
#include "vellora/Models/ObjectLayoutFieldMetadata.h"
#include "vellora/Models/PresentationInfo.h"

vellora_text vellora_answer::document() const {
  const std::lock_guard lock(mutex_);
  if (!document_) {
    const auto written = writtenDocument();
    if (!written) throw vellora::capi::Refusal(VELLORA_UNEXPECTED, written.error().localizedDescription());
    document_ = written.value();
  }
  return {document_->data(), document_->size()};  // zeroes stand behind a Data
}

namespace vellora::capi {

namespace {

std::int32_t numberOf(End end) {
  switch (end) {
    case End::answered:
      return VELLORA_ANSWERED;
    case End::failed:
      return VELLORA_FAILED;
    case End::timedOut:
      return VELLORA_TIMED_OUT;
    case End::cancelled:
      break;
  }
  return VELLORA_CANCELLED;
}

std::int32_t numberOf(Missing::Why why) {
  switch (why) {
    case Missing::Why::unknown:
      return VELLORA_UNKNOWN;
    case Missing::Why::failed:
      return VELLORA_NOT_ASKABLE;
    case Missing::Why::notAsked:
      return VELLORA_NO_KEY;
    case Missing::Why::notCached:
      return VELLORA_NOT_CACHED;
    case Missing::Why::timedOut:
      return VELLORA_KEY_TIMED_OUT;
    case Missing::Why::cancelled:
      break;
  }
  return VELLORA_KEY_CANCELLED;
}

std::int32_t numberOf(Readiness::Case readiness) {
  switch (readiness) {
    case Readiness::Case::loading:
      return VELLORA_IS_LOADING;
    case Readiness::Case::ready:
      return VELLORA_IS_READY;
    case Readiness::Case::failed:
      break;
  }
  return VELLORA_HAS_FAILED;
}

std::int32_t numberOf(TypeChange change) {
  switch (change) {
    case TypeChange::added:
      return VELLORA_ADDED;
    case TypeChange::removed:
      return VELLORA_REMOVED;
    case TypeChange::changed:
      break;
  }
  return VELLORA_CHANGED;
}

[[noreturn]] void refuseEntry(const char* what) {
  throw Refusal(VELLORA_NO_ENTRY, std::string("The answer has no such ") + what + ".");
}

/// The words of a failure, made once, since C is shown them.
struct Words {
  Words() = default;
  explicit Words(const Failure* failure) {
    if (failure == nullptr) return;
    text = failure->text();
    if (auto url = failure->url(); !url.empty()) request = std::move(url);
  }

  std::optional<std::string> text;
  std::optional<std::string> request;
};

double secondsOf(const Age& age) {
  return age.fetched ? age.fetched->secondsSince1970() : std::numeric_limits<double>::quiet_NaN();
}

// What C is shown of the records. A further record adds an overload where it has something to show.

void describe(vellora_found&, const ObjectPresentationInfo&) {}
void describe(vellora_found& found, const ObjectLayoutInfo& layout) {
  found.columns = layout.searchColumns.size();
}
void describe(vellora_found& found, const ObjectCompactLayoutInfo& layout) {
  found.fields = layout.layoutFields.size();
}
void describe(vellora_found& found, TypeChange change) {
  found.change = numberOf(change);
}

template <class T>
const PresentationInfo* lookOf(const T&, bool /*ofInstance*/) {
  return nullptr;
}
const PresentationInfo* lookOf(const ObjectPresentationInfo& info, bool ofInstance) {
  if (!ofInstance) return &info.typePresentationInfo;
  return info.instancePresentationInfo ? &*info.instancePresentationInfo : nullptr;
}

template <class T>
const ObjectLayoutFieldMetadata* columnOf(const T&, std::size_t /*column*/) {
  return nullptr;
}
const ObjectLayoutFieldMetadata* columnOf(const ObjectLayoutInfo& layout, std::size_t column) {
  return column < layout.searchColumns.size() ? &layout.searchColumns[column] : nullptr;
}

template <class T>
const CompactLayoutField* fieldOf(const T&, std::size_t /*field*/) {
  return nullptr;
}
const CompactLayoutField* fieldOf(const ObjectCompactLayoutInfo& layout, std::size_t field) {
  return field < layout.layoutFields.size() ? layout.layoutFields[field].get() : nullptr;
}

vellora_look shownLook(const PresentationInfo& info) {
  return {sizeof(vellora_look),     shown(info.apiName()),    shown(info.label),
          shown(info.labelPlural),  shown(info.color),        shown(info.svgIconUrl),
          shown(info.smallIconUrl), shown(info.largeIconUrl), info.createable ? 1 : 0};
}

vellora_column shownColumn(const ObjectLayoutFieldMetadata& column) {
  return {sizeof(vellora_column), shown(column.name), shown(column.label), shown(column.field),
          shown(column.format)};
}

vellora_field shownField(const CompactLayoutField& field) {
  return {sizeof(vellora_field),       shown(field.apiName),
          shown(field.label),          shown(field.fieldType),
          shown(field.referenceTo),    shown(field.relationshipName),
          field.htmlFormatted ? 1 : 0, field.layoutFields ? field.layoutFields->size() : 0};
}

template <class T>
class AnswerHandle final : public vellora_answer {
 public:
  AnswerHandle(const Kind<T>& kind, Answer<T> answer, std::shared_ptr<const Keys> asked)
      : kind_(kind), answer_(std::move(answer)), asked_(std::move(asked)) {
    found_ = ordered(answer_.found);
    missing_ = ordered(answer_.missing);
    words_.reserve(missing_.size());
    for (const auto* entry : missing_) {
      auto& words = words_.emplace_back(entry->second.failure());
      words.text = entry->second.text();
    }
  }

  [[nodiscard]] vellora_summary summary() const override {
    return {
        sizeof(vellora_summary), kind_.number,           numberOf(answer_.end),       found_.size(),
        missing_.size(),         secondsOf(answer_.age), answer_.age.isStale ? 1 : 0, shown(trouble_.text),
        shown(trouble_.request)};
  }

  [[nodiscard]] vellora_found found(std::size_t index) const override {
    const auto& [key, value] = entryAt(index);
    const Age age = answer_.ageOf(key);
    vellora_found found{sizeof(vellora_found), shown(key), secondsOf(age), age.isStale ? 1 : 0, 0, 0, 0};
    describe(found, value);
    return found;
  }

  [[nodiscard]] vellora_look look(std::size_t index, bool ofInstance) const override {
    const auto* info = lookOf(entryAt(index).second, ofInstance);
    return info != nullptr ? shownLook(*info) : (refuseEntry("look"), vellora_look{});
  }

  [[nodiscard]] vellora_column column(std::size_t index, std::size_t column) const override {
    const auto* it = columnOf(entryAt(index).second, column);
    return it != nullptr ? shownColumn(*it) : (refuseEntry("column"), vellora_column{});
  }

  [[nodiscard]] vellora_field field(std::size_t index, std::size_t field) const override {
    const auto* it = fieldOf(entryAt(index).second, field);
    return it != nullptr ? shownField(*it) : (refuseEntry("field"), vellora_field{});
  }

  [[nodiscard]] vellora_missing missing(std::size_t index) const override {
    if (index >= missing_.size()) refuseEntry("missing key");
    return {sizeof(vellora_missing), shown(missing_[index]->first), numberOf(missing_[index]->second.why()),
            shown(words_[index].text), shown(words_[index].request)};
  }

 private:
  template <class V>
  using Entries = std::vector<const typename std::map<std::string, V>::value_type*>;

  [[nodiscard]] Result<Data> writtenDocument() const override { return kind_.document(answer_, *asked_); }

  template <class V>
  [[nodiscard]] Entries<V> ordered(const std::map<std::string, V>& entries) const {
    return kind_.hasKeys ? inOrderAsked(entries, *asked_) : inOrderOfKeys(entries);
  }

  [[nodiscard]] const std::pair<const std::string, T>& entryAt(std::size_t index) const {
    if (index >= found_.size()) refuseEntry("found key");
    return *found_[index];
  }

  // Constant after construction.
  const Kind<T> kind_;
  const Answer<T> answer_;
  const std::shared_ptr<const Keys> asked_;
  const Words trouble_{answer_.trouble ? &*answer_.trouble : nullptr};
  Entries<T> found_;
  Entries<Missing> missing_;
  std::vector<Words> words_;  // of what is missing
};

class ReadinessHandle final : public vellora_answer {
 public:
  explicit ReadinessHandle(const Readiness& readiness) : readiness_(readiness) {}

  [[nodiscard]] vellora_summary summary() const override {
    vellora_summary summary{};
    summary.kind = VELLORA_READINESS;
    summary.end = numberOf(readiness_.readinessCase());
    summary.fetched = std::numeric_limits<double>::quiet_NaN();
    summary.trouble = shown(trouble_.text);
    summary.trouble_request = shown(trouble_.request);
    return summary;
  }

  [[nodiscard]] vellora_found found(std::size_t /*index*/) const override { refuseEntry("found key"); }
  [[nodiscard]] vellora_look look(std::size_t /*index*/, bool /*of*/) const override { refuseEntry("look"); }
  [[nodiscard]] vellora_column column(std::size_t /*index*/, std::size_t /*column*/) const override {
    refuseEntry("column");
  }
  [[nodiscard]] vellora_field field(std::size_t /*index*/, std::size_t /*field*/) const override {
    refuseEntry("field");
  }
  [[nodiscard]] vellora_missing missing(std::size_t /*index*/) const override { refuseEntry("missing key"); }

 private:
  [[nodiscard]] Result<Data> writtenDocument() const override { return readinessDocument(readiness_); }

  const Readiness readiness_;
  const Words trouble_{readiness_.failure()};
};

}  // namespace

template <class T>
std::unique_ptr<vellora_answer> handleOf(const Kind<T>& kind, Answer<T> answer,
                                         std::shared_ptr<const Keys> asked) {
  return std::make_unique<AnswerHandle<T>>(kind, std::move(answer), std::move(asked));
}

template std::unique_ptr<vellora_answer> handleOf(const Kind<ObjectPresentationInfo>&,
                                                  Answer<ObjectPresentationInfo>,
                                                  std::shared_ptr<const Keys>);
template std::unique_ptr<vellora_answer> handleOf(const Kind<ObjectLayoutInfo>&, Answer<ObjectLayoutInfo>,
                                                  std::shared_ptr<const Keys>);
template std::unique_ptr<vellora_answer> handleOf(const Kind<ObjectCompactLayoutInfo>&,
                                                  Answer<ObjectCompactLayoutInfo>,
                                                  std::shared_ptr<const Keys>);
template std::unique_ptr<vellora_answer> handleOf(const Kind<TypeChange>&, Answer<TypeChange>,
                                                  std::shared_ptr<const Keys>);

std::unique_ptr<vellora_answer> handleOf(const Readiness& readiness) {
  return std::make_unique<ReadinessHandle>(readiness);
}

}  // namespace vellora::capi
