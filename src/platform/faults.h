// What is broken, as bits of one word that any thread sets and any thread reads; and whether what
// is in hand stops for it.
#pragma once

/// Bits of the word; their meaning is that of autofocus_control.h.
enum Fault : unsigned int {
    kFaultDriver = 0x01,
    kFaultGpio = 0x02,
    kFaultIsp = 0x04,
    kFaultHoming = 0x08,
    kFaultPosition = 0x10,
};

/// Set or clear @p fault by how a call went.
void noteCall(Fault fault, bool hasWorked);

unsigned int presentFaults();

/// Whether @p fault stands.
inline bool isPresent(Fault fault) {
    return (presentFaults() & fault) != 0;
}

/// Whether the hardware's links are watched: while an order is in hand that was taken with
/// AF_SETTING_RECOVERY on.
bool isRecovering();
void setRecovering(bool isOn);

/// Whether nothing but a home search may move, and no position be stored.
inline bool isLost() {
    return isRecovering() && isPresent(kFaultPosition);
}
