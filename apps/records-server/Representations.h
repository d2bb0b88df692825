#pragma once

#include <deque>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Data.h"

namespace vellora::recordsserver {

/// A body as it is sent, and its tag, which no other bytes have: the packed form has another one.
struct Representation {
  Data body;
  std::string tag;
};

/// Makes the forms in which bodies are sent. Those of the bodies that were asked for last are remembered, so
/// that an unchanged list is neither read nor packed again.
///
/// Threads: one at a time.
class Representations {
 public:
  [[nodiscard]] Representation of(const Data& body, bool packed);

 private:
  struct Remembered {
    Data body;
    bool packed = false;
    Representation representation;
  };

  std::deque<Remembered> remembered_;  // the newest first
};

/// Whether `tag` is one of those that the value of an `If-None-Match` names.
[[nodiscard]] bool isAmong(std::string_view tag, std::string_view ifNoneMatch);

/// Whether the value of an `Accept-Encoding` names gzip, and doesn't refuse it.
[[nodiscard]] bool acceptsGzip(std::string_view acceptEncoding);

}  // namespace vellora::recordsserver
