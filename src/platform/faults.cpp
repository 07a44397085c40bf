#include "platform/faults.h"

#include "platform/shared_word.h"

static unsigned int faults = 0;
static bool recovering = false;

void noteCall(Fault fault, bool hasWorked) {
    unsigned int former;
    unsigned int now;
    do {
        former = loadWord(&faults);
        now = hasWorked ? former & ~fault : former | fault;
        if (now == former)
            return;
    } while (!exchangeWord(&faults, former, now));
}

unsigned int presentFaults() {
    return loadWord(&faults);
}

bool isRecovering() {
    return loadWord(&recovering);
}

void setRecovering(bool isOn) {
    storeWord(&recovering, isOn);
}
