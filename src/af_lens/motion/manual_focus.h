// Focus by hand: two steps a 10 ms period for as long as the command stays in the mailbox, ending
// exactly on the limit. The next zoom or autofocus run returns to where the first one began.
#pragma once

#include "autofocus_service.h"
