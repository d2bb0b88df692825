#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/interleaving/Limits.h"

namespace vellora::tests::interleaving {

/// A run that has failed: what of it, and how it comes again.
struct Failure {
  std::string what;
  std::string schedule;            ///< for `replay`
  std::vector<std::string> trace;  ///< what each thread did, in its order
};

struct Explored {
  std::uint64_t runs = 0;
  std::optional<Failure> failure;
};

/// Runs `scenario` once for each way in which its threads may be interleaved within `limits`, until one
/// fails. The scenario must do the same each time that its threads come in the same order: it begins with
/// nothing of the run before.
[[nodiscard]] Explored explore(const std::function<void()>& scenario, const Limits& limits);

/// Runs it once, as `schedule` says.
[[nodiscard]] Explored replay(const std::function<void()>& scenario, const std::string& schedule);

// For scenarios.

/// Runs each of `works` on a thread of its own, and waits for their ends.
void atOnce(const std::vector<std::function<void()>>& works);

/// Waits until no other thread can go on, unless time passes: what is to happen at once has happened then.
/// By one thread at a time.
void awaitRest();

/// Runs `work` and waits until no other thread can go on, all of it in one order: what a scenario begins
/// with.
void inOneOrder(const std::function<void()>& work);

/// Fails the run unless `holds`. `what` says what ought to be.
void expect(bool holds, const char* what);

}  // namespace vellora::tests::interleaving
