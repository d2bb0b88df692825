#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

/// What the ready-made host stores, as files of a folder: a cache, an archive, a fetch time stamp and a kept
/// body. Machines of every kind write the same of them, and each reads what another wrote.
namespace vellora::hostkit::tests::storedForms {

inline constexpr std::array names{"archive.json", "body", "cache", "time-stamp"};

/// Writes them into `folder`, which has none of them. Gives what failed.
[[nodiscard]] std::vector<std::string> write(const std::filesystem::path& folder);

/// Reads those in `folder`, which stays as it is. Gives what isn't as `write` means it.
[[nodiscard]] std::vector<std::string> differencesIn(const std::filesystem::path& folder);

}  // namespace vellora::hostkit::tests::storedForms
