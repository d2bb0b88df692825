#include "hostkit/cache/redis/RedisErrors.h"

#include <array>
#include <string_view>

namespace vellora::hostkit::redisErrors {

namespace {

using Reason = RedisCacheError::Reason;

struct Word {
  std::string_view code;
  Reason reason;
};

constexpr std::array words{
    Word{"OOM", Reason::full},
    Word{"MISCONF", Reason::full},
    Word{"NOAUTH", Reason::refused},
    Word{"WRONGPASS", Reason::refused},
    Word{"NOPERM", Reason::refused},
    Word{"LOADING", Reason::unready},
    Word{"READONLY", Reason::unready},
    Word{"MASTERDOWN", Reason::unready},
    Word{"NOREPLICAS", Reason::unready},
    Word{"CLUSTERDOWN", Reason::unready},
    Word{"TRYAGAIN", Reason::unready},
    Word{"BUSY", Reason::unready},
    Word{"ERR max number of clients", Reason::unready},
};

/// The error's first word, or words where the first says too little; behind a hyphen where an older server
/// quotes what a script met with.
bool tells(std::string_view answer, std::string_view code) {
  const std::string word = std::string(code) + " ";
  return answer.starts_with(word) || answer.find("-" + word) != std::string_view::npos;
}

}  // namespace

Reason reasonFor(const std::string& answer) {
  for (const Word& word : words) {
    if (tells(answer, word.code)) return word.reason;
  }
  return Reason::failed;
}

bool endsTheConnection(Reason reason) {
  return reason == Reason::unready || reason == Reason::refused;
}

}  // namespace vellora::hostkit::redisErrors
