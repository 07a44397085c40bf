// The experiment "focus": one autofocus from anywhere, at any zoom, on an object anywhere.
#pragma once

#include "kind.h"

namespace lab {

Kind makeFocusKind();

} // namespace lab
