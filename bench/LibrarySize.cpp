#include <filesystem>

#include "bench/Rows.h"

namespace vellora::bench {

void addLibrarySize(Suite& suite) {
  suite.count([] {
    const auto bytes = static_cast<double>(std::filesystem::file_size(VELLORA_WHOLE_LIBRARY));
    return Table::Line{.what = "size of the stripped library", .ours = Table::size(bytes), .against = ""};
  });
}

}  // namespace vellora::bench
