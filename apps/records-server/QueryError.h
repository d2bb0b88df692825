#pragma once

#include <string>

namespace vellora::recordsserver {

/// Why a query has no answer: the two members of the error body that tells the client.
struct QueryError {
  std::string code;
  std::string message;

  [[nodiscard]] std::string localizedDescription() const { return code + ": " + message; }

  /// The query's text follows no form that the server knows.
  [[nodiscard]] static QueryError malformed(std::string message) { return {"BAD_QUERY", std::move(message)}; }
};

}  // namespace vellora::recordsserver
