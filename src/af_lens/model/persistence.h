// What survives a restart: lens position and infinity line, handed to the host's callbacks and
// read back through them at start-up. Runs on the thread that drives the motors.
#pragma once

#include "autofocus_service.h"
