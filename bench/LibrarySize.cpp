#include <filesystem>

#include "bench/Rows.h"

namespace vellora::bench {

void addLibrarySize(Suite& suite) {
  suite.count([] {
    const auto bytes = static_cast<double>(std::filesystem::file_size(VELLORA_WHOLE_LIBRARY));
    constexpr double aim = 900'000;
    return Table::Line{.what = "size of the stripped library",
                       .ours = Table::size(bytes),
                       .against = "what is aimed at, " + Table::size(aim),
                       .ratio = bytes / aim,
                       .bound = 1,
                       .accepted = 1.7};
  });
}

}  // namespace vellora::bench
