// The start-up thread: driver, lens, then the two threads that run a camera.
#pragma once

#include "autofocus_service.h"
