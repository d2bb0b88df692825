#include "testkit/HostileServer.h"

namespace vellora::testkit {

namespace {

// FNV-1a, which gives the same on every machine.
std::uint64_t hashOf(std::uint64_t seed, std::string_view text) {
  constexpr std::uint64_t prime = 0x100000001b3;
  std::uint64_t hash = 0xcbf29ce484222325 ^ seed;
  for (const char each : text) hash = (hash ^ static_cast<unsigned char>(each)) * prime;
  return hash ^ (hash >> 32);
}

std::vector<HostileTrick> tricksWithoutLateOnes(std::size_t largestBody) {
  auto tricks = hostileTricks(largestBody);
  std::erase_if(tricks, [](const HostileTrick& trick) { return !trick.late.empty(); });
  return tricks;
}

}  // namespace

HostileServer::HostileServer(std::uint64_t seed, std::size_t largestBody)
    : seed_(seed), tricks_(tricksWithoutLateOnes(largestBody)) {
  server_.replyBy([this](const ScriptedServer::Request& request) { return answer(request); });
}

HostileServer::~HostileServer() = default;

const HostileTrick& HostileServer::trickOn(std::string_view target) const {
  return tricks_.at(static_cast<std::size_t>(hashOf(seed_, target) % tricks_.size()));
}

std::string HostileServer::rightBody(std::string_view target) {
  return "{\"target\":\"" + std::string(target) + "\"}";
}

std::map<std::string, std::size_t> HostileServer::played() const {
  const std::lock_guard lock(mutex_);
  return played_;
}

ScriptedServer::Reply HostileServer::answer(const ScriptedServer::Request& request) {
  const std::string target = request.target();
  const HostileTrick& trick = trickOn(target);
  {
    const std::lock_guard lock(mutex_);
    ++played_[trick.name];
  }
  return trick.reply({request, rightBody(target), elsewhere_.hostAndPort()});
}

}  // namespace vellora::testkit
