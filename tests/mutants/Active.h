#pragma once

#include <atomic>
#include <type_traits>

/// What a source asks in which `scripts/mutants` has put its mutants: which of them is on.
namespace mutants {

struct Choice {
  Choice();

  /// The number in the environment variable VELLORA_MUTANT; none is on without it.
  int number = -1;
  /// One for each mutant that was asked for, where VELLORA_MUTANTS_REACHED names a file of as many bytes.
  unsigned char* reached = nullptr;
};

extern const Choice choice;

inline bool on(int number) {
  if (choice.reached != nullptr) std::atomic_ref(choice.reached[number]).store(1, std::memory_order_relaxed);
  return number == choice.number;
}

/// For a function that the compiler may run, where none is on.
constexpr bool onAtRunTime(int number) {
  return !std::is_constant_evaluated() && on(number);
}

}  // namespace mutants
