// The Pelco-D command set: zoom, focus and stop for address 1. It never replies. Runs on the serial
// thread.
#pragma once

#include "autofocus_service.h"
