// Experiments on the refocus trigger: a scene in which nothing happens, one that changes, and
// curves that drift in the warmth.
#pragma once

#include "kind.h"

namespace lab {

Kind makeStillKind();
Kind makeChangeKind();
Kind makeDriftKind();

} // namespace lab
