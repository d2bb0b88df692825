#include "tests/power/DiskJournal.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace vellora::tests {

namespace fs = std::filesystem;

DiskImage DiskImage::read(const std::string& path) {
  DiskImage image;
  int number = 0;
  for (const auto& entry : fs::directory_iterator(path)) {
    std::ifstream file(entry.path(), std::ios::binary);
    image.names[entry.path().filename()] = ++number;
    image.files[number] = {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  return image;
}

void DiskImage::write(const std::string& path) const {
  fs::create_directories(path);
  std::map<int, fs::path> written;
  for (const auto& [name, number] : names) {
    const fs::path file = fs::path(path) / name;
    const auto [first, isNew] = written.emplace(number, file);
    if (!isNew) {
      fs::create_hard_link(first->second, file);
      continue;
    }
    const auto found = files.find(number);
    std::ofstream(file, std::ios::binary) << (found == files.end() ? std::string() : found->second);
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
  }
}

/// Draws how much is lost altogether first: else nearly all losses would be alike.
class DiskJournal::Fate {
 public:
  explicit Fate(std::mt19937& random) : random_(random) {
    constexpr unsigned shares[] = {0, 10, 50, 90, 100};
    lost_ = shares[below(5)];
  }

  unsigned below(std::size_t end) { return static_cast<unsigned>(random_() % end); }
  bool isLost() { return below(100) < lost_; }
  bool isTorn() { return below(16) == 0; }

 private:
  std::mt19937& random_;
  unsigned lost_ = 0;  // of a hundred
};

std::vector<bool> DiskJournal::durableAmong(std::size_t length) const {
  std::vector<bool> durable(length);
  bool areNamesSynced = false;
  std::set<int> syncedFiles;
  for (std::size_t i = length; i-- > 0;) {
    const Entry& entry = entries_[i];
    if (entry.kind == Kind::syncOfNames) areNamesSynced = true;
    if (entry.kind == Kind::sync) syncedFiles.insert(entry.file);
    const bool isOfNames = entry.kind == Kind::name || entry.kind == Kind::removal;
    durable[i] = isOfNames ? areNamesSynced : syncedFiles.contains(entry.file);
  }
  return durable;
}

DiskImage DiskJournal::afterLoss(std::size_t length, std::mt19937& random) const {
  DiskImage disk = before_;
  Fate fate(random);
  const auto durable = durableAmong(length);
  for (std::size_t i = 0; i < length; ++i) {
    if (durable[i]) {
      apply(entries_[i], disk);
    } else {
      applyInPart(entries_[i], fate, disk);
    }
  }
  return disk;
}

void DiskJournal::apply(const Entry& entry, DiskImage& disk) {
  switch (entry.kind) {
    case Kind::name:
      disk.names.erase(entry.freed);
      disk.names[entry.name] = entry.file;
      break;
    case Kind::removal:
      disk.names.erase(entry.freed);
      break;
    case Kind::content: {
      std::string& bytes = disk.files[entry.file];
      bytes.resize(std::max(bytes.size(), entry.offset + entry.bytes.size()));
      bytes.replace(entry.offset, entry.bytes.size(), entry.bytes);
      break;
    }
    case Kind::size:
      disk.files[entry.file].resize(entry.offset);
      break;
    case Kind::syncOfNames:
    case Kind::sync:
      break;
  }
}

void DiskJournal::applyInPart(const Entry& entry, Fate& fate, DiskImage& disk) {
  if (entry.kind != Kind::content) {
    if (!fate.isLost()) apply(entry, disk);
    return;
  }
  std::string& bytes = disk.files[entry.file];
  const std::size_t end = entry.offset + entry.bytes.size();
  if (!fate.isLost()) bytes.resize(std::max(bytes.size(), end));  // the size alone, till now
  for (std::size_t at = entry.offset; at < end;) {
    const std::size_t next = std::min(end, (at / sectorSize + 1) * sectorSize);
    std::size_t kept = fate.isLost() ? 0 : next - at;
    if (kept > 0 && fate.isTorn()) kept = fate.below(kept);
    kept = std::min(kept, bytes.size() - std::min(bytes.size(), at));
    if (kept > 0) bytes.replace(at, kept, entry.bytes, at - entry.offset, kept);
    at = next;
  }
}

}  // namespace vellora::tests
