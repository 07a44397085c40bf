// The one persistent log, /tmp/aflog: for events that must survive the console.
#pragma once

#include "autofocus_service.h"
