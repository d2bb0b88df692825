#include "vellora/Catalog/Catalog.h"

#include <utility>

#include "vellora/Catalog/CatalogImplementation.h"

namespace vellora {

using Kind = InfoLookup::Wanted::Kind;

Catalog::Catalog(const std::shared_ptr<CorvaneSDK::PlatformAPI>& host, CatalogOptions options)
    : implementation_(std::make_shared<Implementation>(host, std::move(options))) {}

Catalog::~Catalog() = default;

Question<ObjectPresentationInfo> Catalog::records(const Keys& ids, const QuestionOptions& options) const {
  return implementation_->infos(Kind::ids, ids, options);
}

Question<ObjectPresentationInfo> Catalog::types(const Keys& names, const QuestionOptions& options) const {
  return implementation_->infos(Kind::names, names, options);
}

Question<ObjectPresentationInfo> Catalog::allTypes(std::string_view filter,
                                                   const QuestionOptions& options) const {
  return implementation_->allTypes(filter, options);
}

Question<ObjectLayoutInfo> Catalog::searchColumns(const Keys& names, const QuestionOptions& options) const {
  return implementation_->searchColumns(names, options);
}

Question<ObjectCompactLayoutInfo> Catalog::headlines(const Keys& names,
                                                     const QuestionOptions& options) const {
  return implementation_->headlines(names, options);
}

Question<TypeChange> Catalog::refresh(const RefreshOptions& options) const {
  return implementation_->refresh(options);
}

template <class T>
QuestionToken Catalog::watching(std::function<Question<T>()> ask,
                                std::function<void(Answer<T>)> callback) const {
  return implementation_->watch<T>(std::move(ask), std::move(callback));
}

template QuestionToken Catalog::watching(std::function<Question<ObjectPresentationInfo>()>,
                                         std::function<void(Answer<ObjectPresentationInfo>)>) const;
template QuestionToken Catalog::watching(std::function<Question<ObjectLayoutInfo>()>,
                                         std::function<void(Answer<ObjectLayoutInfo>)>) const;
template QuestionToken Catalog::watching(std::function<Question<ObjectCompactLayoutInfo>()>,
                                         std::function<void(Answer<ObjectCompactLayoutInfo>)>) const;

void Catalog::forget() const {
  implementation_->forget();
}

void Catalog::releaseMemory() const {
  implementation_->releaseMemory();
}

Readiness Catalog::readiness() const {
  return implementation_->readiness().value();
}

Publisher<Readiness> Catalog::readinessStream() const {
  return implementation_->readinessStream();
}

}  // namespace vellora
