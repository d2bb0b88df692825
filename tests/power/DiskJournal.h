#pragma once

#include <cstddef>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace vellora::tests {

/// The files of one folder: what each holds, by number, and the names that lead to them. A file may have
/// several names, or none.
struct DiskImage {
  std::map<std::string, int> names;
  std::map<int, std::string> files;

  friend bool operator==(const DiskImage&, const DiskImage&) = default;

  /// What is in the folder at `path`.
  [[nodiscard]] static DiskImage read(const std::string& path);

  /// Makes a folder that holds that. `path` must be empty.
  void write(const std::string& path) const;
};

/// What was done to a folder and its files, in order, and what a loss of power may leave of it.
///
/// Durable is what was there at the beginning; each change of a file's content once that file was synced; and
/// each change of a name once the folder was. All else may be lost, whatever came before or after it. Of what
/// was written, each sector may be lost, or torn: its first bytes new, the others as they were. What a file
/// grew by may be there as zeros.
class DiskJournal {
 public:
  explicit DiskJournal(DiskImage before = {}) : before_(std::move(before)) {}

  static constexpr std::size_t sectorSize = 512;

  // A change of names: durable once the folder is synced.
  void create(const std::string& name, int file) { add({.kind = Kind::name, .name = name, .file = file}); }
  void rename(const std::string& from, const std::string& to, int file) {
    add({.kind = Kind::name, .name = to, .freed = from, .file = file});
  }
  void remove(const std::string& name) { add({.kind = Kind::removal, .freed = name}); }
  void syncNames() { add({.kind = Kind::syncOfNames}); }

  // A change of what a file holds: durable once the file is synced.
  void write(int file, std::size_t offset, std::string bytes) {
    add({.kind = Kind::content, .file = file, .offset = offset, .bytes = std::move(bytes)});
  }
  void resize(int file, std::size_t size) { add({.kind = Kind::size, .file = file, .offset = size}); }
  void sync(int file) { add({.kind = Kind::sync, .file = file}); }

  /// How many entries there are: the power can be lost before the first, and after each.
  [[nodiscard]] std::size_t length() const { return entries_.size(); }

  /// What a loss of power after the first `length` entries leaves; `random` draws what is lost.
  [[nodiscard]] DiskImage afterLoss(std::size_t length, std::mt19937& random) const;

 private:
  enum class Kind { name, removal, syncOfNames, content, size, sync };

  struct Entry {
    Kind kind = Kind::name;
    std::string name = {};
    std::string freed = {};  // the name that leads nowhere afterwards
    int file = 0;
    std::size_t offset = 0;  // a size, where that is what is changed
    std::string bytes = {};
  };

  /// What becomes of that which was not synced.
  class Fate;

  void add(Entry entry) { entries_.push_back(std::move(entry)); }
  [[nodiscard]] std::vector<bool> durableAmong(std::size_t length) const;
  static void apply(const Entry& entry, DiskImage& disk);
  static void applyInPart(const Entry& entry, Fate& fate, DiskImage& disk);

  DiskImage before_;
  std::vector<Entry> entries_;
};

}  // namespace vellora::tests
