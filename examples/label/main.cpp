// The smallest program: a server's address, one question. README.md quotes all of it.

// [label]
#include <iostream>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Catalog/Catalog.h"

int main(int argc, char** argv) {
  if (argc != 3) return std::cerr << "usage: label SERVER RECORD-ID\n", 2;
  const auto host = vellora::hostkit::StandardPlatformAPI::make({.server = argv[1]});
  if (!host) return std::cerr << host.error().localizedDescription() << '\n', 1;
  const auto answer = vellora::Catalog(host.value()).records({argv[2]}).get();
  for (auto& [id, info] : answer.found) std::cout << info.typePresentationInfo.label.value_or(id) << '\n';
  for (auto& [id, missing] : answer.missing) std::cout << id << ": " << missing.text() << '\n';
}
// [label]
