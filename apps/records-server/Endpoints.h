#pragma once

#include <string>
#include <string_view>

#include "apps/records-server/DataSet.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::recordsserver {

/// What a request is answered with.
struct Answer {
  int status = 200;
  Data body;
  std::string contentType = "application/json;charset=UTF-8";

  /// An answer that tells of an error in the server's form.
  [[nodiscard]] static Answer error(int status, std::string_view message, std::string_view code);
};

/// Answers a GET of `target`, a path with its query part as it was sent. Unknown object types are left out of
/// the layout answers; an object type that is asked for twice is answered once. Below "/icons/" there are the
/// icons that `iconAt` draws.
[[nodiscard]] Answer answerFor(std::string_view target, const DataSet& data);

}  // namespace vellora::recordsserver
