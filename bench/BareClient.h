#pragma once

#include <memory>
#include <string>

namespace vellora::bench {

/// What a cold start must do at the least, on the bare libraries: two downloads at the same time, extraction
/// by hand, and each list written to a SQLite file as the library writes it, as JSON and in a transaction.
class BareClient {
 public:
  /// Makes the file and its table, and what curl needs before it connects.
  BareClient(const std::string& server, const std::string& file);
  ~BareClient();
  BareClient(const BareClient&) = delete;
  BareClient& operator=(const BareClient&) = delete;

  /// Whether both lists came, were read and were written.
  [[nodiscard]] bool load();

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace vellora::bench
