#include "apps/vellora/cache/CacheTransfer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/FileNaming.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

using hostkit::CacheArchive;
using hostkit::SQLiteCache;

/// Writes every byte, also when signals come in between; 0, or the `errno` of what went wrong.
int writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

/// Writes a file that is complete when it gets its name.
std::optional<Problem> writeFile(const std::string& file, std::string_view content, bool replace) {
  const auto failed = [&file](int number) {
    return Problem{ExitCode::unexpected, "cannot write " + file + ": " + std::strerror(number)};
  };
  std::string made = file + ".XXXXXX";
  const int descriptor = ::mkostemp(made.data(), O_CLOEXEC);
  if (descriptor < 0) return failed(errno);
  int number = writeAll(descriptor, content);
  if (::close(descriptor) != 0 && number == 0) number = errno;
  std::optional<Problem> problem;
  if (number != 0) {
    problem = failed(number);
  } else if (replace) {
    if (::rename(made.c_str(), file.c_str()) != 0) problem = failed(errno);
  } else if (const int naming = hostkit::nameFile(made, file)) {
    problem = naming == EEXIST
                  ? Problem{ExitCode::usage, file + " exists already; write over it with --replace"}
                  : failed(naming);
  }
  ::unlink(made.c_str());
  return problem;
}

std::variant<CacheArchive, Problem> readArchive(const std::string& file) {
  std::ifstream stream;
  if (file != "-") stream.open(file, std::ios::binary);
  std::istream& in = file == "-" ? std::cin : stream;
  const Problem unreadable{ExitCode::usage, "cannot read " + file};
  if (!in) return unreadable;
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad() || (file != "-" && text.str().empty())) return unreadable;  // a folder, for instance
  auto archive = CacheArchive::decode(Data(text.str()));
  if (!archive) return Problem{ExitCode::usage, file + ": " + archive.error().localizedDescription()};
  return std::move(archive).value();
}

}  // namespace

ExitCode exportTo(const Arguments& arguments, const hostkit::SQLiteCacheContents& contents) {
  const auto text = CacheArchive::of(contents).encode();
  if (!text) return complain({ExitCode::unexpected, text.error().localizedDescription()});
  const std::string lines = std::string(text.value().view()) + "\n";
  if (arguments.cache.file == "-") return print(lines) ? ExitCode::answered : ExitCode::unexpected;
  const auto problem = writeFile(arguments.cache.file, lines, arguments.cache.replace);
  return problem ? complain(*problem) : ExitCode::answered;
}

ExitCode importFrom(const Arguments& arguments) {
  const auto read = readArchive(arguments.cache.file);
  if (const auto* problem = std::get_if<Problem>(&read)) return complain(*problem);
  const auto opened = SQLiteCache::open(arguments.cacheFile);
  if (!opened) return complain({ExitCode::cacheUnusable, opened.error().localizedDescription()});
  auto& cache = *opened.value();
  const auto& archive = std::get<0>(read);
  const auto found = archive.foundIn(cache);
  if (found && !arguments.cache.replace) {
    return complain({ExitCode::usage, arguments.cacheFile + " holds " + *found +
                                          " already, and nothing was changed; write over it with --replace"});
  }
  if (!(arguments.cache.fresh ? archive.fetchedAt(now()) : archive).restore(cache)) {
    return complain({ExitCode::cacheUnusable, "not everything could be stored in " + arguments.cacheFile +
                                                  "; is its disk full, or another program writing to it?"});
  }
  return ExitCode::answered;
}

}  // namespace vellora::command
