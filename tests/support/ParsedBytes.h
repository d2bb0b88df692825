#pragma once

#include <cstddef>

namespace vellora::tests {

/// Counts the bytes of JSON text that the whole program parses, on every thread, from this object's
/// construction on. A program that links `vellora_parsed_bytes` has the calls of the parser counted; they go
/// on to it unchanged.
///
/// Threads: safe to use from several at once; work that other threads do meanwhile is counted too.
class ParsedBytes {
 public:
  ParsedBytes();

  [[nodiscard]] std::size_t count() const;

 private:
  const std::size_t before_;
};

}  // namespace vellora::tests
