#include "sony/replies/lens_state.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_orders/ledger.h"
#include "autofocus_control.h"

unsigned int positions16() {
    static unsigned short zoom; // off the stack, as in port.cpp
    static unsigned short focus;
    zoom = focus = 0;
    lensGetZMapPosition(&zoom);
    lensGetFMapPosition(&focus);
    return zoom | static_cast<unsigned int>(focus) << 16;
}

unsigned int outcomeOfTicket(int ticket) {
    if (ticket < 0)
        return AF_OUTCOME_FAULT;
    return outcomeOf(ticket, lastTicket());
}
