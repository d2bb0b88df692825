#include "apps/vellora/command/BuildInformation.h"

namespace vellora::command {

namespace {

#if defined(__clang__)
constexpr const char* compiler = "Clang " __clang_version__;
#else
constexpr const char* compiler = "GCC " __VERSION__;
#endif

}  // namespace

std::string buildInformation() {
  return std::string("vellora " VELLORA_VERSION "\n") + "compiler: " + compiler +
         "\nbuild: " VELLORA_BUILD_TYPE "\nsystem: " VELLORA_SYSTEM;
}

}  // namespace vellora::command
