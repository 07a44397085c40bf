// Two service runs that write measured pairs of zoom and in-focus position to text files.
#pragma once

#include "autofocus_service.h"
