// Start-up of the lens and its re-homing: tables, home search, park at the wide end.
#pragma once

#include "autofocus_service.h"
