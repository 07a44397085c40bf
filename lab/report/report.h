// "lab report": one page that stands alone, and its charts as files beside it.
#pragma once

#include <string>

#include "store.h"

namespace lab {

/// Of the build @p build; empty: of the last one. EXIT_SUCCESS when every file is whole.
int writeReport(Store &store, const std::string &build, const std::string &folder);

} // namespace lab
