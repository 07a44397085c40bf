// The host's callbacks and the adapters through which the library calls them. An adapter turns a
// missing registration into an error, so that lens code never calls through a null pointer.
#pragma once

#include "autofocus_service.h"
