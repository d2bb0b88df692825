#include "apps/records-server/CurrentData.h"

#include <utility>

namespace vellora::recordsserver {

CurrentData::CurrentData(DataSet data) : data_(std::move(data)) {}

DataSet CurrentData::current() const {
  const std::lock_guard lock(mutex_);
  return data_;
}

void CurrentData::replace(DataSet data) {
  const std::lock_guard lock(mutex_);
  data_ = std::move(data);
}

}  // namespace vellora::recordsserver
