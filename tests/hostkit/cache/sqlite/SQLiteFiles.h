#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace vellora::hostkit::tests {

inline std::string fileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

/// The names in a folder, sorted.
inline std::vector<std::string> fileNames(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

/// The number that the next file gets which is opened: a higher one when a file was left open.
inline int nextDescriptor() {
  const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(next);
  return next;
}

inline unsigned modeOf(const std::string& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

/// A plain connection, as another program would have one.
class RawDatabase {
 public:
  explicit RawDatabase(const std::string& path) {
    EXPECT_EQ(sqlite3_open(path.c_str(), &handle_), SQLITE_OK);
  }
  ~RawDatabase() { sqlite3_close(handle_); }
  RawDatabase(const RawDatabase&) = delete;
  RawDatabase& operator=(const RawDatabase&) = delete;

  void run(const std::string& sql) {
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK)
        << sql << ": " << (message != nullptr ? message : "");
    sqlite3_free(message);
  }

 private:
  sqlite3* handle_ = nullptr;
};

}  // namespace vellora::hostkit::tests
