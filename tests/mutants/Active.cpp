#include "tests/mutants/Active.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace mutants {

namespace {

/// The bytes of a file, shared with every process that maps it; the system writes them, however the process
/// ends.
unsigned char* bytesOf(const char* path) {
  const int file = open(path, O_RDWR | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) std::abort();
  void* const bytes =
      mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (bytes == MAP_FAILED) std::abort();
  close(file);
  return static_cast<unsigned char*>(bytes);
}

}  // namespace

Choice::Choice() {
  if (const char* const chosen = std::getenv("VELLORA_MUTANT")) number = std::atoi(chosen);
  if (const char* const path = std::getenv("VELLORA_MUTANTS_REACHED")) reached = bytesOf(path);
}

// Before every other object that is made before main.
[[gnu::init_priority(101)]] const Choice choice;

}  // namespace mutants
