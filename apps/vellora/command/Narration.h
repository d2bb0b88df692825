#pragma once

#include <string>

#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/RequestReport.h"

namespace vellora::command {

/// What became of a request, for somebody who wants to follow: "GET /a: 120 bytes after 0.03 s".
[[nodiscard]] std::string narrationOf(const RequestReport& ended);

/// What became of the question: "2 found, 1 missing, from the server, after 0.12 s".
[[nodiscard]] std::string narrationOf(const QuestionReport& ended);

}  // namespace vellora::command
