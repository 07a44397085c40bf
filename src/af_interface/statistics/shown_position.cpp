#include "af_interface/statistics/shown_position.h"

#include "af_lens/model/lens_state.h"
#include "autofocus/host/settings_table.h"
#include "autofocus_control.h"
#include "platform/shared_word.h"

static const int kKept = 8; // above the longest delay
static const int kLongestDelay = 4;

static unsigned int positions[kKept]; // of record n at n % kKept
static unsigned int latest = 0;       // record
static int measured = -1;             // not yet

void noteShownPosition(unsigned int record) {
    storeWord(&positions[record % kKept], focusPosition());
    storeWord(&latest, record);
}

static int delayNow() {
    const int delay = settingOf(AF_SETTING_STATISTICS_DELAY);
    return delay < 0 ? loadWord(&measured) : delay;
}

void noteDelay(int frames) {
    if (frames <= kLongestDelay)
        storeWord(&measured, frames);
}

bool isDelayKnown() {
    return delayNow() >= 0;
}

int framesUntilShown() {
    return isDelayKnown() ? delayNow() : kLongestDelay;
}

unsigned int shownPosition() {
    const int delay = delayNow();
    if (delay <= 0)
        return focusPosition();
    return loadWord(&positions[(loadWord(&latest) - static_cast<unsigned int>(delay)) % kKept]);
}
