// Positioning by 16-bit zoom position: restore the position before power-off, recall a preset that
// stands there, or zoom directly.
#pragma once

#include "autofocus_service.h"
