#include "hostkit/cache/redis/RedisCacheError.h"

namespace vellora::hostkit {

namespace {

struct Words {
  const char* wrong;
  const char* remedy;
};

Words wordsFor(RedisCacheError::Reason reason) {
  using Reason = RedisCacheError::Reason;
  switch (reason) {
    case Reason::invalidAddress:
      return {"is no address of a Redis",
              "Take one such as redis://cache.example:6379/0, and give user and password apart from it."};
    case Reason::unreachable:
      return {"cannot be reached", "Look whether it runs there, and whether this machine may connect to it."};
    case Reason::timedOut:
      return {"did not answer in time", "Look at its load, or allow it more time."};
    case Reason::refused:
      return {"refuses this user", "Look at user, password and what they may do."};
    case Reason::full:
      return {"takes no writes", "Give it more memory or disk, or have it evict what expires."};
    case Reason::unready:
      return {"cannot take part now", "Try again when it has loaded, or when another one has taken over."};
    case Reason::failed:
      break;
  }
  return {"answers with a failure", "Look at its log."};
}

}  // namespace

std::string RedisCacheError::localizedDescription() const {
  const Words words = wordsFor(reason);
  std::string text = server.empty() ? "The text" : "The Redis at \"" + server + "\"";
  text.append(" ").append(words.wrong);
  if (!detail.empty()) text.append(" (").append(detail).append(")");
  return text.append(". ").append(words.remedy);
}

}  // namespace vellora::hostkit
