#pragma once

// Installed headers include this one before they declare anything, so this is the first that is said.
#if __cplusplus < 202002L
#error "Vellora needs C++20 or later: compile with -std=c++20"
#endif

/// Marks what a shared library of ours offers; everything else is hidden. Two kinds of things in an installed
/// header bear it. One is every class that is no template: so its type information is one and the same in all
/// the program's libraries. The other is every function that is defined in a source file.
#define VELLORA_EXPORT __attribute__((visibility("default")))
