// One autofocus run: a hill climb on one focus value a frame. Runs on the lens-control thread.
#pragma once

#include "autofocus_service.h"
