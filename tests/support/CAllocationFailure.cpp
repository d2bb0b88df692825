#include "tests/support/CAllocationFailure.h"

#include <curl/curl.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vellora::tests {

namespace {

std::atomic<std::size_t> left;  // allocations until one fails; 0: none does
std::atomic<bool> lasts;
std::atomic<bool> failed;
std::atomic<std::size_t> live;

/// Counts an allocation; true when it must fail.
bool fails() {
  std::size_t before = left;
  while (before > 1 && !left.compare_exchange_weak(before, before - 1)) continue;
  if (before != 1) return false;
  if (!lasts && left.exchange(0) == 0) return false;  // another thread's failed
  failed = true;
  return true;
}

void* counted(void* memory) {
  if (memory != nullptr) ++live;
  return memory;
}

void* allocate(std::size_t size) {
  return fails() ? nullptr : counted(std::malloc(size == 0 ? 1 : size));
}

void* allocateZeros(std::size_t count, std::size_t size) {
  return fails() ? nullptr : counted(std::calloc(count, size));
}

void* reallocate(void* memory, std::size_t size) {
  if (memory == nullptr) return allocate(size);
  return fails() ? nullptr : std::realloc(memory, size == 0 ? 1 : size);
}

char* duplicate(const char* text) {
  void* copy = allocate(std::strlen(text) + 1);
  return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, std::strlen(text) + 1)) : nullptr;
}

void release(void* memory) {
  if (memory != nullptr) --live;
  std::free(memory);
}

sqlite3_mem_methods sqliteOwn;  // which keep each block's size

void useInSQLite() {
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqliteOwn);
  sqlite3_mem_methods methods = sqliteOwn;
  methods.xMalloc = [](int size) { return fails() ? nullptr : counted(sqliteOwn.xMalloc(size)); };
  methods.xRealloc = [](void* memory, int size) {
    return fails() ? nullptr : sqliteOwn.xRealloc(memory, size);
  };
  methods.xFree = [](void* memory) {
    if (memory != nullptr) --live;
    sqliteOwn.xFree(memory);
  };
  sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
}

// Before anything of the program can use either library, which would then keep the memory that it has.
const bool areInUse = [] {
  useInSQLite();
  curl_global_init_mem(CURL_GLOBAL_DEFAULT, allocate, release, reallocate, duplicate, allocateZeros);
  return sqlite3_initialize() == SQLITE_OK;
}();

}  // namespace

CAllocationFailure::CAllocationFailure(std::size_t number, Extent extent) {
  failed = !areInUse;
  lasts = extent == Extent::allFromThereOn;
  left = number;
}

CAllocationFailure::~CAllocationFailure() {
  left = 0;
}

bool CAllocationFailure::happened() const {
  return failed;
}

std::size_t CAllocationFailure::liveBlocks() {
  return live;
}

}  // namespace vellora::tests
