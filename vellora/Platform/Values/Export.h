#pragma once

/// Marks what a shared library of ours offers; everything else is hidden. Two kinds of things in an installed
/// header bear it: every class, so that its type information is one and the same in all the program's
/// libraries, and every function that is defined in a source file.
#define VELLORA_EXPORT __attribute__((visibility("default")))
