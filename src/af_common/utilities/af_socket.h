// A local stream socket for the host's own tools. Nothing inside the library uses it.
#pragma once

#include "autofocus_service.h"
