#pragma once

#include <span>
#include <string_view>

namespace vellora::explore {

/// A file of the page, as it was compiled into the program.
struct PageFile {
  std::string_view path;  ///< below the server: "/" for the page itself
  std::string_view contentType;
  std::string_view text;
};

[[nodiscard]] std::span<const PageFile> pageFiles();

}  // namespace vellora::explore
