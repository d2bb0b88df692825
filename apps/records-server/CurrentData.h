#pragma once

#include <mutex>

#include "apps/records-server/DataSet.h"

namespace vellora::recordsserver {

/// The data set that a server answers from, which may be replaced while it runs.
///
/// Threads: synchronises itself.
class CurrentData {
 public:
  explicit CurrentData(DataSet data);

  [[nodiscard]] DataSet current() const;
  void replace(DataSet data);

 private:
  mutable std::mutex mutex_;
  DataSet data_;
};

}  // namespace vellora::recordsserver
