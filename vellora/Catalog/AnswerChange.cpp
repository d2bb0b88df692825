#include "vellora/Catalog/AnswerChange.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "vellora/Models/CompactLayoutField.h"

namespace vellora {

namespace {

/// `now`, with the look of `before` where it has none of its own.
PresentationInfo withLookOf(const PresentationInfo& before, PresentationInfo now) {
  if (now.color || now.svgIconUrl || now.smallIconUrl || now.largeIconUrl) return now;
  now.color = before.color;
  now.svgIconUrl = before.svgIconUrl;
  now.smallIconUrl = before.smallIconUrl;
  now.largeIconUrl = before.largeIconUrl;
  return now;
}

/// Whether the field shows another record's name field, rather than its id.
bool isResolved(const CompactLayoutField& field) {
  return field.relationshipName && field.apiName.starts_with(*field.relationshipName + ".");
}

bool isOtherField(const std::shared_ptr<CompactLayoutField>& before,
                  const std::shared_ptr<CompactLayoutField>& now) {
  if (!before || !now) return before != now;
  if (!isResolved(*before) || isResolved(*now)) return !(*before == *now);
  return !(*before == CompactLayoutField(CompactLayoutField::Content{
                          before->apiName, now->fieldType, now->label, now->referenceTo,
                          now->relationshipName, now->htmlFormatted, now->layoutFields}));
}

}  // namespace

bool isOther(const ObjectPresentationInfo& before, const ObjectPresentationInfo& now, bool isTroubled) {
  if (!isTroubled) return !(before == now);
  ObjectPresentationInfo full = now;
  full.typePresentationInfo = withLookOf(before.typePresentationInfo, now.typePresentationInfo);
  if (const auto& instance = before.instancePresentationInfo) {
    const auto& own = now.instancePresentationInfo;
    full.instancePresentationInfo = own ? withLookOf(*instance, *own) : *instance;
  }
  return !(before == full);
}

bool isOther(const ObjectCompactLayoutInfo& before, const ObjectCompactLayoutInfo& now, bool isTroubled) {
  if (!isTroubled) return !(before == now);
  const auto& old = before.layoutFields;
  return before.objectType != now.objectType || old.size() != now.layoutFields.size() ||
         !std::equal(old.begin(), old.end(), now.layoutFields.begin(),
                     [](const auto& left, const auto& right) { return !isOtherField(left, right); });
}

}  // namespace vellora
