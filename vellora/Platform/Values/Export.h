#pragma once

/// Marks what a shared library of ours offers; everything else is hidden. Two kinds of things in an installed
/// header bear it. One is every class that is no template: so its type information is one and the same in all
/// the program's libraries. The other is every function that is defined in a source file.
#define VELLORA_EXPORT __attribute__((visibility("default")))
