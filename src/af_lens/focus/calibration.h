// The measurement of the unit's infinity line in front of a distant, detailed target.
#pragma once

#include "autofocus_service.h"
