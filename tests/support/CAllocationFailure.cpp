#include "tests/support/CAllocationFailure.h"

#include <curl/curl.h>
#include <dlfcn.h>
#include <openssl/crypto.h>
#include <sqlite3.h>
#include <zlib.h>
#ifdef VELLORA_HAS_NGHTTP2
#include <nghttp2/nghttp2.h>
#endif

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vellora::tests {

namespace {

using Library = CAllocationFailure::Library;

std::atomic<std::size_t> left;  // allocations until one fails; 0: none does
std::atomic<Library> failing;
std::atomic<bool> lasts;
std::atomic<bool> failed;
std::atomic<std::size_t> live;

/// Counts an allocation of `library`; true when it must fail.
bool fails(Library library) {
  if (failing != Library::any && failing != library) return false;
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

void* allocate(Library library, std::size_t size) {
  return fails(library) ? nullptr : counted(std::malloc(size == 0 ? 1 : size));
}

void* allocateZeros(Library library, std::size_t count, std::size_t size) {
  return fails(library) ? nullptr : counted(std::calloc(count, size));
}

void* reallocate(Library library, void* memory, std::size_t size) {
  if (memory == nullptr) return allocate(library, size);
  return fails(library) ? nullptr : std::realloc(memory, size == 0 ? 1 : size);
}

void release(void* memory) {
  if (memory != nullptr) --live;
  std::free(memory);
}

char* duplicate(const char* text) {
  void* copy = allocate(Library::curl, std::strlen(text) + 1);
  return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, std::strlen(text) + 1)) : nullptr;
}

bool useInCurl() {
  return curl_global_init_mem(
             CURL_GLOBAL_DEFAULT, [](std::size_t size) { return allocate(Library::curl, size); }, release,
             [](void* memory, std::size_t size) { return reallocate(Library::curl, memory, size); },
             duplicate,
             [](std::size_t count, std::size_t size) { return allocateZeros(Library::curl, count, size); }) ==
         CURLE_OK;
}

bool useInOpenSsl() {
  return CRYPTO_set_mem_functions(
             [](std::size_t size, const char*, int) { return allocate(Library::openSsl, size); },
             [](void* memory, std::size_t size, const char*, int) -> void* {
               if (size == 0) {  // which OpenSSL means as a release
                 release(memory);
                 return nullptr;
               }
               return reallocate(Library::openSsl, memory, size);
             },
             [](void* memory, const char*, int) { release(memory); }) == 1;
}

sqlite3_mem_methods sqliteOwn;  // which keep each block's size

bool useInSQLite() {
  sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqliteOwn);
  sqlite3_mem_methods methods = sqliteOwn;
  methods.xMalloc = [](int size) { return fails(Library::any) ? nullptr : counted(sqliteOwn.xMalloc(size)); };
  methods.xRealloc = [](void* memory, int size) {
    return fails(Library::any) ? nullptr : sqliteOwn.xRealloc(memory, size);
  };
  methods.xFree = [](void* memory) {
    if (memory != nullptr) --live;
    sqliteOwn.xFree(memory);
  };
  sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
  return sqlite3_initialize() == SQLITE_OK;
}

// Before anything of the program can use one of the libraries, which would then keep the memory that it has.
// OpenSSL first: libcurl uses it.
const bool areInUse = useInOpenSsl() && useInCurl() && useInSQLite();

/// The function of that name which the program's own stands in front of.
template <class Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

CAllocationFailure::CAllocationFailure(std::size_t number, Extent extent, Library library) {
  failed = !areInUse;
  lasts = extent == Extent::allFromThereOn;
  failing = library;
  left = number;
}

CAllocationFailure::~CAllocationFailure() {
  left = 0;
}

bool CAllocationFailure::happened() const {
  return failed;
}

std::size_t CAllocationFailure::liveBlocks() {
  OPENSSL_thread_stop();
  return live;
}

// What follows takes its memory from whoever begins with it: libcurl, and our own code. So the program has
// functions of the same names, which the loader finds first.

extern "C" [[gnu::visibility("default")]] int inflateInit2_(z_stream* stream, int windowBits,
                                                            const char* version, int size) {
  static const auto begin = original<decltype(inflateInit2_)>("inflateInit2_");
  stream->zalloc = [](void*, uInt count, uInt of) {
    return allocate(Library::zlib, std::size_t{count} * of);
  };
  stream->zfree = [](void*, void* block) { release(block); };
  return begin(stream, windowBits, version, size);
}

#ifdef VELLORA_HAS_NGHTTP2
extern "C" [[gnu::visibility("default")]] int nghttp2_session_client_new2(
    nghttp2_session** session, const nghttp2_session_callbacks* callbacks, void* user,
    const nghttp2_option* option) {
  static const auto begin = original<decltype(nghttp2_session_client_new3)>("nghttp2_session_client_new3");
  static nghttp2_mem memory{
      nullptr, [](std::size_t size, void*) { return allocate(Library::nghttp2, size); },
      [](void* block, void*) { release(block); },
      [](std::size_t count, std::size_t size, void*) { return allocateZeros(Library::nghttp2, count, size); },
      [](void* block, std::size_t size, void*) { return reallocate(Library::nghttp2, block, size); }};
  return begin(session, callbacks, user, option, &memory);
}
#endif

}  // namespace vellora::tests
