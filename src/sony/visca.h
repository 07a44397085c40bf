// The VISCA command set: camera 1, category 4. Commands get no acknowledge and no completion; only
// the three inquiries are answered. Runs on the serial thread.
#pragma once

#include "autofocus_service.h"
