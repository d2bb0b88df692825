#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "bindings/c/ForeignTable.h"
#include "bindings/c/Texts.h"
#include "bindings/c/vellora.h"
#include "vellora/Host/LogLevel.h"
#include "vellora/Host/Logger.h"

namespace vellora::capi {

/// The logger of a host that gives a table of functions.
///
/// Ownership: shares the table.
///
/// Threads: as the table's functions.
class ForeignLogger final : public CorvaneSDK::Logger {
 public:
  using Table = ForeignTable<vellora_logger>;

  explicit ForeignLogger(std::shared_ptr<const Table> table) : table_(std::move(table)) {}

  void log(std::string_view message, CorvaneSDK::LogLevel level) override {
    const vellora_text line = shown(message);
    table_->call((*table_)->log, level == CorvaneSDK::LogLevel::error ? 1 : 0, &line);
  }

 private:
  const std::shared_ptr<const Table> table_;
};

}  // namespace vellora::capi
