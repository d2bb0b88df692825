#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "apps/records-server/RecordsServer.h"

namespace vellora::recordsserver {

inline const std::string themes = "/services/data/v50.0/theme";
inline const std::string objects = "/services/data/v50.0/sobjects";
inline const std::string accountLayout = "/services/data/v50.0/search/layout?q=Account";

/// A running server; null, and a failed test, when it could not start.
inline std::unique_ptr<RecordsServer> started(RecordsServer::Options options = {},
                                              DataSet data = DataSet::builtIn()) {
  auto server = RecordsServer::start(std::move(data), std::move(options));
  if (server) return std::move(server).value();
  ADD_FAILURE() << server.error().localizedDescription();
  return nullptr;
}

/// What the built-in data answers to `themes`.
inline std::string themeBody() {
  return std::string(DataSet::builtIn().themeList().view());
}

}  // namespace vellora::recordsserver
