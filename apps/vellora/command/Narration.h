#pragma once

#include <chrono>
#include <string>

#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/RequestReport.h"

namespace vellora::command {

/// What became of a request, for somebody who wants to follow: "GET /a: 120 bytes after 0.03 s".
[[nodiscard]] std::string narrationOf(const RequestReport& ended);

/// What became of the question: "2 found, 1 missing, from the server, after 0.12 s"; of a refresh "2 changed,
/// after 0.12 s".
[[nodiscard]] std::string narrationOf(const QuestionReport& ended);

/// What became of work on a file: "reading /a.sqlite: done after 0.02 s".
[[nodiscard]] std::string narrationOf(const std::string& what, std::chrono::duration<double> time);

}  // namespace vellora::command
