#pragma once

#include "bench/Suite.h"

namespace vellora::bench {

// Each adds its timings and its lines to the table, and stands in a source file of its own.

void addDecodingOfTheObjectList(Suite& suite);

}  // namespace vellora::bench
