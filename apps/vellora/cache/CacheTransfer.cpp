#include "apps/vellora/cache/CacheTransfer.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <variant>

#include "apps/vellora/cache/WholeFile.h"
#include "apps/vellora/command/Output.h"
#include "apps/vellora/command/Problem.h"
#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {

namespace {

using hostkit::CacheArchive;
using hostkit::SQLiteCache;

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
  if (arguments.cache.file == "-") return printText(lines);
  const auto problem = writeWholeFile(arguments.cache.file, lines, arguments.cache.replace);
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
