#include "apps/vellora/cache/CacheTransfer.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

#include "apps/vellora/cache/WholeFile.h"
#include "apps/vellora/command/Errand.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/cache/CacheArchive.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

using hostkit::CacheArchive;

constexpr std::size_t largestArchive =
    std::size_t{256} * 1024 * 1024;  // bytes; no cache of ours comes near it

/// Whether `text` may be the beginning of an archive, which is a JSON object. What is none need not be read
/// to its end.
bool mayBeAnArchive(std::string_view text) {
  const auto begin = text.find_first_not_of(" \t\r\n");
  return text.empty() || (begin != std::string_view::npos && text[begin] == '{');
}

/// What `in` holds, up to one byte more than the largest archive. No more than the beginning of what is none.
std::string textIn(std::istream& in) {
  std::string text;
  std::string block(65536, '\0');
  while (text.size() <= largestArchive && mayBeAnArchive(text) && in) {
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    text.append(block, 0, static_cast<std::size_t>(in.gcount()));
  }
  return text;
}

std::variant<CacheArchive, Problem> readArchive(const std::string& file) {
  std::ifstream stream;
  if (file != "-") stream.open(file, std::ios::binary);
  std::istream& in = file == "-" ? std::cin : stream;
  const std::string name = file == "-" ? "standard input" : file;
  const Problem unreadable{ExitCode::usage, "cannot read " + name};
  if (!in) return unreadable;
  const std::string text = textIn(in);
  if (in.bad() || (file != "-" && text.empty())) return unreadable;  // a folder, for instance
  if (text.size() > largestArchive)
    return Problem{ExitCode::usage, name + " is too large for an archive: of more than 256 MiB"};
  auto archive = CacheArchive::decode(Data(text));
  if (!archive) return Problem{ExitCode::usage, name + ": " + archive.error().localizedDescription()};
  return std::move(archive).value();
}

bool isSameFile(const std::string& one, const std::string& other) {
  struct stat first {};
  struct stat second {};
  return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// Whether `file` is the cache, or one of the files that the database keeps beside it: beside the file
/// itself, where `cacheFile` is a link to it.
bool isPartOfCache(const std::string& file, const std::string& cacheFile) {
  constexpr const char* suffixes[] = {"", "-wal", "-shm", "-journal"};
  std::error_code failure;
  const auto canonical = std::filesystem::weakly_canonical(cacheFile, failure);
  const std::string cache = failure ? cacheFile : canonical.string();
  return std::any_of(std::begin(suffixes), std::end(suffixes),
                     [&](const char* suffix) { return isSameFile(file, cache + suffix); });
}

/// Stores the archive in the cache of the arguments; what stands against it.
std::optional<Problem> store(const CacheArchive& archive, const Arguments& arguments,
                             const CacheTarget& target) {
  const auto opened = target.open();
  if (const auto* problem = std::get_if<Problem>(&opened)) return *problem;
  auto& cache = *std::get<0>(opened);
  const auto found = archive.foundIn(cache);
  if (found && !arguments.cache.replace) {
    return Problem{ExitCode::usage, arguments.cacheFile + " holds " + *found +
                                        " already, and nothing was changed; write over it with --replace"};
  }
  if ((arguments.cache.fresh ? archive.fetchedAt(now()) : archive).restore(cache)) return std::nullopt;
  return target.explained(
      {ExitCode::cacheUnusable, "not everything could be stored in " + arguments.cacheFile +
                                    "; is its disk full, or another program writing to it?"});
}

}  // namespace

ExitCode exportTo(const Arguments& arguments, const hostkit::SQLiteCacheContents& contents) {
  const auto text = CacheArchive::of(contents).encode();
  if (!text) return complain({ExitCode::unexpected, text.error().localizedDescription()});
  const std::string lines = std::string(text.value().view()) + "\n";
  if (arguments.cache.file == "-") return printText(lines);
  if (isPartOfCache(arguments.cache.file, arguments.cacheFile)) {
    return complain({ExitCode::usage, arguments.cache.file + " is part of the cache that is to be exported; "
                                                             "choose another file"});
  }
  const auto problem = [&] {
    const Errand writing(arguments, "writing " + arguments.cache.file);
    return writeWholeFile(arguments.cache.file, lines, arguments.cache.replace);
  }();
  return problem ? complain(*problem) : ExitCode::answered;
}

ExitCode importFrom(const Arguments& arguments, const CacheTarget& target) {
  const auto read = [&] {
    const auto& file = arguments.cache.file;
    const Errand reading(arguments, "reading " + (file == "-" ? "standard input" : file));
    return readArchive(file);
  }();
  if (const auto* problem = std::get_if<Problem>(&read)) return complain(*problem);
  const auto problem = [&] {
    const Errand storing(arguments, "storing in " + arguments.cacheFile);
    return store(std::get<0>(read), arguments, target);
  }();
  return problem ? complain(*problem) : ExitCode::answered;
}

}  // namespace vellora::command
