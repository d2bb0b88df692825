#include "tests/faults/Deliveries.h"

#include <utility>

#include "testkit/FaultyNetwork.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/EnumerationError.h"

namespace vellora::faults {

namespace {

template <class Record>
Delivery::Entry entry(std::string text, const Record& record) {
  return {std::move(text), std::string(json::encode(record).value().view())};
}

std::string textOf(const PresentationInfo& info) {
  return info.color ? info.apiName() : info.apiName() + " unthemed";
}

std::string joined(const std::vector<std::string>& texts, const std::string& separator) {
  std::string all;
  for (const auto& text : texts) all.append(all.empty() ? "" : separator).append(text);
  return all;
}

std::string entriesDifference(const Delivery& actual, const Delivery& right) {
  if (!actual.entries) return right.entries ? "nothing" : "";
  if (actual.entries == right.entries) return "";
  if (actual.entries->empty()) return "empty";
  std::vector<std::string> differences;
  for (const auto& [key, expected] : *right.entries) {
    const auto found = actual.entries->find(key);
    if (found == actual.entries->end()) {
      differences.push_back("no " + key);
    } else if (found->second != expected) {
      const bool tells = found->second.text != expected.text;
      differences.push_back(key + " = " + found->second.text + (tells ? "" : " altered"));
    }
  }
  for (const auto& [key, entry] : *actual.entries) {
    if (!right.entries->contains(key)) differences.push_back("also " + key);
  }
  return joined(differences, ", ");
}

std::string difference(const Delivery& actual, const Delivery& right) {
  if (!actual.entries && !actual.error.empty()) return "fails: " + actual.error;
  const std::string entries = entriesDifference(actual, right);
  const std::string error = actual.error == right.error ? "" : actual.error;
  if (error.empty()) return entries.empty() ? "right" : entries;
  return (entries.empty() ? "right" : entries) + " + " + error;
}

}  // namespace

std::string textOf(const Error& error) {
  const EnumerationError* known = error.as<SObjectsDataServiceError>();
  if (!known) known = error.as<ThemeDataServiceError>();
  const Error* cause = known ? known->payload() : &error;
  const std::string kind = cause && cause->as<DecodingError>()                     ? "decoding"
                           : cause && cause->as<testkit::FaultyNetwork::Failure>() ? "transport"
                           : cause                                                 ? cause->description()
                                                                                   : "";
  if (!known) return kind;
  return kind.empty() ? known->description() : "other(" + kind + ")";
}

Delivery::Entry entryOf(const ObjectPresentationInfo& info) {
  const auto& instance = info.instancePresentationInfo;
  return entry(textOf(info.typePresentationInfo) + (instance ? " of " + textOf(*instance) : ""), info);
}

Delivery::Entry entryOf(const ObjectLayoutInfo& info) {
  return entry(info.objectType, info);
}

Delivery::Entry entryOf(const ObjectCompactLayoutInfo& info) {
  return entry(info.objectType + " with " + info.layoutFields.front()->apiName, info);
}

Delivery::Entry entryOf(const SObject& sObject) {
  return entry(sObject.name, sObject);
}

Delivery::Entry entryOf(const ThemeItem& theme) {
  return entry(theme.name, theme);
}

Delivery::Entry entryOf(const std::string& text) {
  return {text, text};
}

std::string difference(const Deliveries& actual, const Deliveries& right) {
  if (actual.empty()) return "never";
  std::vector<std::string> texts;
  for (const auto& delivery : actual) texts.push_back(difference(delivery, right.front()));
  return joined(texts, ", then ");
}

}  // namespace vellora::faults
