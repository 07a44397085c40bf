// The lens-control thread: polls the mailbox every 50 ms and runs the handler of what it finds. All
// lens work of a running camera happens here.
#pragma once

#include "autofocus_service.h"
