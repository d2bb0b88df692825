#pragma once

/// Marks what a shared library of ours offers: everything is hidden but that. Every class in an installed
/// header bears it, so that its type information is one and the same in all the program's libraries, and
/// every function that is declared there and defined in a source file.
#define VELLORA_EXPORT __attribute__((visibility("default")))
