#pragma once

#include <cstddef>

namespace vellora::tests {

/// Makes one allocation of the C libraries fail, or one and all that follow it, on whatever thread it comes.
/// A program that links `vellora_c_allocation_failure` has all of them take their memory through this. One at
/// a time.
class CAllocationFailure {
 public:
  enum class Extent { one, allFromThereOn };

  /// Whose memory fails.
  enum class Library {
    any,      ///< SQLite, libcurl, OpenSSL, nghttp2 or zlib
    curl,     ///< libcurl
    openSsl,  ///< OpenSSL
    nghttp2,  ///< which speaks HTTP/2 for libcurl; only where its header was there (VELLORA_HAS_NGHTTP2)
    zlib,     ///< zlib's unpacking
  };

  /// The `number`th allocation from now on, counted from 1.
  CAllocationFailure(std::size_t number, Extent extent, Library library = Library::any);
  ~CAllocationFailure();
  CAllocationFailure(const CAllocationFailure&) = delete;
  CAllocationFailure& operator=(const CAllocationFailure&) = delete;

  [[nodiscard]] bool happened() const;

  /// How many blocks the libraries hold right now, but for what OpenSSL keeps for this thread.
  [[nodiscard]] static std::size_t liveBlocks();
};

}  // namespace vellora::tests
