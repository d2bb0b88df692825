#include "vellora/Catalog/Session.h"

#include <new>
#include <string>
#include <vector>

#include "vellora/DataServices/NamedList.h"

namespace vellora {

namespace {

/// Calls `step`; false when it has run out of memory.
template <class Step>
bool isDone(Step step) {
  try {
    step();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

void Session::end() const {
  gate->close();
  questions.end();
}

void Session::purge() const {
  std::vector<std::string> names;
  bool isComplete = isDone([&] {
    const auto token = services.sObjects->allSObjects(Source::cacheOnly).sink([&](const auto& types) {
      for (const auto& type : types->records()) names.push_back(type.name);
    });
  });
  isComplete &= isDone([&] { services.sObjects->forget(); });
  isComplete &= isDone([&] { services.themes->forget(); });
  isComplete &= isDone([&] { services.layouts->forgetNoted(); });
  isComplete &= isDone([&] { services.compactLayouts->forgetNoted(); });
  isComplete &= isDone([&] { services.layouts->forget(names); });
  isComplete &= isDone([&] { services.compactLayouts->forget(names); });
  if (!isComplete) throw std::bad_alloc();
}

}  // namespace vellora
