// The host's serial port: reading what is there and dumping what is refused.
#pragma once

#include "autofocus_service.h"
