// Finding home: each axis's photo-interrupter edge, to one step and always from the same side.
#pragma once

#include "autofocus_service.h"

extern "C" {

/// Search both edges without touching the counters; 0, or -1 when a pass failed.
int Lens_Search_PI(void);
}
