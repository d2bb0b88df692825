#pragma once

#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vellora/DataServices/FailureLog.h"
#include "vellora/DataServices/LayoutCompletion.h"

namespace vellora {

/// The cached layouts that a lookup has found.
template <class Layout>
struct CachedLayouts {
  std::vector<Layout> fresh;  ///< part of every answer
  std::vector<Layout> found;  ///< fresh and expired ones; the answer when the server fails
};

/// Those of `names` that are the object type of none of `layouts`, in their order and as often as they come.
template <class Layout>
[[nodiscard]] std::vector<std::string> namesWithoutLayout(const std::vector<std::string>& names,
                                                          const std::vector<Layout>& layouts) {
  std::vector<std::string> missing;
  std::copy_if(names.begin(), names.end(), std::back_inserter(missing), [&](const std::string& name) {
    return std::none_of(layouts.begin(), layouts.end(),
                        [&](const Layout& layout) { return layout.objectType == name; });
  });
  return missing;
}

/// The completion to give to the download of the layouts that a lookup lacks. It answers `completion`, if
/// there is one: with the downloaded layouts followed by the fresh ones; after a failure, which it notes in
/// `log`, with all that were found and the error. Without the memory for a list it passes on only the error.
template <class Layout>
[[nodiscard]] LayoutCompletion<Layout> answerWithCached(CachedLayouts<Layout> cached, FailureLog log,
                                                        LayoutCompletion<Layout> completion) {
  return [cached = std::move(cached), log = std::move(log), completion = std::move(completion)](
             auto downloaded, auto error) {
    if (!downloaded && error) log.note(": Network request error:  ", *error);
    if (!completion) return;
    std::optional<std::vector<Layout>> layouts;
    try {
      if (downloaded) {
        downloaded->insert(downloaded->end(), cached.fresh.begin(), cached.fresh.end());
        layouts = std::move(downloaded);
        error.reset();
      } else {
        layouts = cached.found;
      }
    } catch (const std::bad_alloc&) {
      error = noMemoryForAnswer();
    }
    completion(std::move(layouts), std::move(error));
  };
}

}  // namespace vellora
