#include "vellora/Platform/Publishers/detail/Source.h"

namespace vellora::detail {

Source::~Source() = default;

void start(SourcePtr source, Handle<Receiver> receiver, const SubscriptionScope& scope) {
  const Use use = source->hasOneHandle() ? Use::last : Use::oneOfSeveral;
  source->start(std::move(receiver), scope, use);
}

SourcePtr Recipe::of(const RecipeType& type, void* closure) {
  return SourcePtr(new (Room{type.closure.size}) Recipe(type, closure));
}

Recipe::Recipe(const RecipeType& type, void* closure) : type_(type) {
  type.closure.take(this->closure(), closure, Use::last);
}

Recipe::~Recipe() {
  type_.closure.destroy(closure());
}

void Recipe::start(Handle<Receiver> receiver, const SubscriptionScope& scope, Use use) {
  type_.begin(closure(), std::move(receiver), scope, use);
}

}  // namespace vellora::detail
