#pragma once

#include "bench/Suite.h"

namespace vellora::bench {

// Each adds its timings and its lines to the table, and stands in a source file of its own.

void addDecodingOfTheObjectList(Suite& suite);
void addDecodingOfTheThemeList(Suite& suite);
void addEncoding(Suite& suite);
void addColdStart(Suite& suite);
void addCachedLayouts(Suite& suite);
void addLibrarySize(Suite& suite);
void addWarmLookups(Suite& suite);
void addWarmQuestions(Suite& suite);
void addWarmBinding(Suite& suite);
void addFirstLookups(Suite& suite);
void addManyRequests(Suite& suite);
void addTableSizes(Suite& suite);

}  // namespace vellora::bench
