#pragma once

#include <cstdint>

namespace vellora::fleet {

/// Something that happens to an agent at a moment.
struct Event {
  enum class Kind : std::uint8_t {
    start,     ///< the app starts
    question,  ///< it asks something that may need a list
    answer,    ///< a list has come, or the server has refused it
    retry,     ///< a refused list is asked for again
    release,   ///< a new version is out; concerns every agent
    restart,   ///< a running app takes the new version
  };

  double time = 0;  ///< in seconds
  std::uint32_t agent = 0;
  std::uint32_t stamp = 0;  ///< of the agent; an older one belongs to what is over
  Kind kind = Kind::start;
  std::uint8_t list = 0;
  bool isRefused = false;
  std::uint64_t order = 0;  ///< given by the queue
};

}  // namespace vellora::fleet
