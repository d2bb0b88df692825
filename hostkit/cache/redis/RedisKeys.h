#pragma once

#include <string>

namespace vellora::hostkit {

/// The names of what a cache keeps in a Redis. All begin with one text in braces, so that a Redis of several
/// servers keeps a cache in one piece.
///
/// Ownership: a plain value.
struct RedisKeys {
  std::string prefix;

  [[nodiscard]] std::string blob(const std::string& key) const { return prefix + "blob:" + key; }

  /// Who sends that request for all.
  [[nodiscard]] std::string lease(const std::string& request) const { return prefix + "lease:" + request; }

  /// What that request was answered with lately.
  [[nodiscard]] std::string answer(const std::string& request) const { return prefix + "answer:" + request; }

  /// What tells that there is such a table.
  [[nodiscard]] std::string table(const std::string& tableKey) const { return prefix + "table:" + tableKey; }

  /// A table's data keys, sorted by when their rows were written.
  [[nodiscard]] std::string order(const std::string& tableKey) const { return prefix + "order:" + tableKey; }

  /// The meta of each row of a table, by data key.
  [[nodiscard]] std::string metas(const std::string& tableKey) const { return prefix + "metas:" + tableKey; }

  /// What the names of a table's rows begin with; the data key follows.
  [[nodiscard]] std::string rows(const std::string& tableKey) const {
    return prefix + "row:" + led(tableKey);
  }

  /// What the names of a table's sets of data keys begin with; the bytes of the meta pair that they share
  /// follow.
  [[nodiscard]] std::string pairs(const std::string& tableKey) const {
    return prefix + "pair:" + led(tableKey);
  }

 private:
  /// Led by its length: "1" and "23" are not "12" and "3".
  [[nodiscard]] static std::string led(const std::string& text) {
    return std::to_string(text.size()) + ":" + text + ":";
  }
};

}  // namespace vellora::hostkit
