#pragma once

#include <cstddef>
#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/WithClosure.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// What stands behind a `Publisher`, whatever the type of its values: it knows how a subscription is started.
///
/// Threads: may be started from several threads at once. A source changes only at its last use, and no other
/// thread uses it then.
class VELLORA_EXPORT Source : public Counted {
 public:
  /// Starts yielding to `receiver` until `scope` ends. May do all of it inside the call. Whoever wants a
  /// source started calls `detail::start`, which decides on `use`.
  ///
  /// A source that waits for something must let go of the receiver when the scope ends (see `Link`). Throws
  /// `std::bad_alloc`.
  virtual void start(Handle<Receiver> receiver, const SubscriptionScope& scope, Use use) = 0;

 protected:
  ~Source() override;
};

/// A handle to a source. Publishers, and the steps behind them, share a source.
using SourcePtr = Handle<Source>;

/// Starts `source`. This is its last use when the caller gives the only handle away, because then nobody else
/// can start it any more. No other function decides that. At its last use a source gives away the handle to
/// its own upstream in the same way, so the whole chain above it can have its last use too.
VELLORA_EXPORT void start(SourcePtr source, Handle<Receiver> receiver, const SubscriptionScope& scope);

/// What a `Recipe` has to know of its function.
struct VELLORA_EXPORT RecipeType {
  ClosureType closure;
  void (*begin)(void* closure, Handle<Receiver> receiver, const SubscriptionScope& scope, Use use);
};

/// A source that is one function, which stands behind it.
class VELLORA_EXPORT Recipe final : public Source, public WithClosure<Recipe> {
 public:
  /// A recipe that takes the function at `closure` away.
  [[nodiscard]] static SourcePtr of(const RecipeType& type, void* closure);

  ~Recipe() override;
  void start(Handle<Receiver> receiver, const SubscriptionScope& scope, Use use) override;

 private:
  Recipe(const RecipeType& type, void* closure);

  const RecipeType& type_;
};

template <class Begin>
void beginBy(void* begin, Handle<Receiver> receiver, const SubscriptionScope& scope, Use use) {
  (*static_cast<Begin*>(begin))(std::move(receiver), scope, use);
}

template <class Begin>
inline constexpr RecipeType recipeType = {closureType<Begin>, beginBy<Begin>};

/// Makes a source of the function `begin(receiver, scope, use)`.
template <class Begin>
[[nodiscard]] SourcePtr recipe(Begin begin) {
  static_assert(alignof(Begin) <= alignof(std::max_align_t),
                "keep what is aligned more strictly behind a pointer");
  return Recipe::of(recipeType<Begin>, &begin);
}

/// Makes a source of `T` of the function `begin(observer, scope, use)`. Its parts are what `begin` has
/// captured; it may move from them at the last use only, and calls `taken` for that:
///
///     source<T>([value](Observer<T> to, const SubscriptionScope& scope, Use use) mutable {
///       to.receive(taken(value, use));
///       if (scope.isActive()) to.complete({});
///     });
template <class T, class Begin>
[[nodiscard]] SourcePtr source(Begin begin) {
  return recipe(
      [begin = std::move(begin)](Handle<Receiver> to, const SubscriptionScope& scope, Use use) mutable {
        begin(Observer<T>(std::move(to)), scope, use);
      });
}

}  // namespace vellora::detail
