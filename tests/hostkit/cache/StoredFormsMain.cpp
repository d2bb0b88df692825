// Writes what the ready-made host stores, or tries whether this machine reads what another has written.
//   stored-forms write FOLDER      into that folder, which is made
//   stored-forms read FOLDER…      ends with 1 and tells what differs

#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/hostkit/cache/StoredForms.h"

int main(int argc, char** argv) {
  namespace forms = vellora::hostkit::tests::storedForms;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() < 2 || (arguments[0] != "write" && arguments[0] != "read")) return 2;
  bool sound = true;
  for (std::size_t at = 1; at < arguments.size(); ++at) {
    const auto& folder = arguments[at];
    if (arguments[0] == "write") std::filesystem::create_directories(folder);
    for (const auto& wrong : arguments[0] == "write" ? forms::write(folder) : forms::differencesIn(folder)) {
      std::cerr << folder << ": " << wrong << '\n';
      sound = false;
    }
  }
  return sound ? 0 : 1;
}
