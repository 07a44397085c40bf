// Continuous autofocus: a picture that stays clearly different from the last peak for 26 frames
// asks for a new run. Judged once a frame on the statistics thread; armed and disarmed by the
// lens-control thread, which keeps it disarmed while it drives the lens.
#pragma once

#include "autofocus_service.h"
