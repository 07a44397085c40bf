// Driving the lens to a preset. Runs on the lens-control thread; no command interrupts the move.
#pragma once

#include "autofocus_service.h"
