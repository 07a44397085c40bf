// Driving the lens to a preset, and the handler of the preset commands. Runs on the lens-control
// thread; no command interrupts a preset move.
#pragma once

#include "autofocus_service.h"
