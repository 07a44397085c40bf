// The serial thread: cuts the host's port into frames and hands each to its command set. It runs
// until select fails.
#pragma once

#include "autofocus_service.h"
