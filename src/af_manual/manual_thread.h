// A service and test facility that drives the lens step by step, past the command mailbox. The host
// starts the thread and posts requests; the library does neither. A request waits while a lens
// command runs, and a lens command waits while a request does.
#pragma once

#include "autofocus_service.h"
