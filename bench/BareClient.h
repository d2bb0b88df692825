#pragma once

#include <memory>
#include <string>

#include "bench/ReadyHost.h"

namespace vellora::bench {

/// Does the least that a cold start must do, with curl, simdjson and SQLite alone: it downloads both lists at
/// the same time, reads them by code written for just these fields, and writes each to a SQLite file as the
/// library does, as JSON and in a transaction. It keeps the bodies in the same file where it is told to.
class BareClient {
 public:
  /// Makes the file and its table, and what curl needs before it connects.
  BareClient(const std::string& server, const std::string& file, Bodies bodies);
  ~BareClient();
  BareClient(const BareClient&) = delete;
  BareClient& operator=(const BareClient&) = delete;

  /// Does all of that; returns whether both lists were downloaded, read and written.
  [[nodiscard]] bool load();

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace vellora::bench
