#pragma once

#include <string>

namespace vellora::hostkit {

/// A thousand letters "a", and the same packed by Python's `gzip.compress(b"a" * 1000, mtime=0)`.
inline const std::string unpackedLetters(1000, 'a');
inline const std::string packedLetters(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\x4b\x4c\x1c\x05\xa3\x60\x14\x0c\x77\x00\x00\x03\xda\x38\x9a\xe8"
    "\x03\x00\x00",
    29);

}  // namespace vellora::hostkit
