#include "autofocus/host/osd_text.h"

#include "autofocus.h"
#include "autofocus/callbacks.h"
#include "platform/shared_word.h"

#include <limits.h>
#include <stdio.h>

static const int kNoRatioYet = INT_MIN;

static int gMultipleNew = kNoRatioYet;

int fCallbakSetMultiple(int multiple) {
    storeWord(&gMultipleNew, multiple);
    return 0;
}

void formatOsdText(char *text) {
    const int multiple = loadWord(&gMultipleNew);
    if (multiple == kNoRatioYet)
        text[0] = '\0';
    else
        snprintf(text, AF_OSD_TEXT_SIZE, "X%02d", multiple);
}
