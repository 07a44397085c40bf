// The experiment "tracking": how far the focus is off while the lens zooms from end to end.
#pragma once

#include "kind.h"

namespace lab {

Kind makeTrackingKind();

} // namespace lab
