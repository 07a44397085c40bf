// The handler of the four preset commands. Preset number 202 is reserved: calling it enables the
// refocus trigger, clearing it disables the trigger.
#pragma once

#include "autofocus_service.h"
