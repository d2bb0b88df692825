#include "tests/support/Http2Server.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace vellora::tests {

namespace {

/// The number of a socket, of which the system's table of sockets says where it listens.
std::string socketNumber(const std::filesystem::path& descriptor) {
  std::error_code ignored;
  const std::string target = std::filesystem::read_symlink(descriptor, ignored).string();
  const std::string mark = "socket:[";
  return target.starts_with(mark) ? target.substr(mark.size(), target.size() - mark.size() - 1) : "";
}

std::optional<int> portOfListener(const std::string& number) {
  std::ifstream table("/proc/net/tcp");
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string slot, local, remote, state, queues, timer, retransmits, user, timeout, found;
    fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> user >> timeout >> found;
    if (found == number && state == "0A") return std::stoi(local.substr(local.find(':') + 1), nullptr, 16);
  }
  return std::nullopt;
}

/// The program tells only the port that it was given, which is 0 for any.
int listeningPort(pid_t process) {
  for (const auto& descriptor :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
    const std::string number = socketNumber(descriptor.path());
    if (number.empty()) continue;
    if (const auto port = portOfListener(number)) return *port;
  }
  throw std::runtime_error("nghttpd does not listen");
}

}  // namespace

Http2Server::Http2Server()
    : certificate_("IP:127.0.0.1"),
      process_({"nghttpd", "--verbose", "--address=127.0.0.1", "--htdocs=" + files_.path().string(), "0",
                certificate_.keyFile(), certificate_.file()}) {
  static_cast<void>(process_.restOfLine("IPv4: listen "));
  url_ = "https://127.0.0.1:" + std::to_string(listeningPort(process_.id()));
}

void Http2Server::serve(const std::string& path, const std::string& body) {
  std::ofstream(files_.file(path.substr(1)), std::ios::binary) << body;
}

}  // namespace vellora::tests
