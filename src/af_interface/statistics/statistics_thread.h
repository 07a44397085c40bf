// The statistics thread: one focus record a frame from the ISP's zone metrics, then the refocus
// trigger. It runs for the life of the process, or until the ISP fails.
#pragma once

#include "autofocus_service.h"
