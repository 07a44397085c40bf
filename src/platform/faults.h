// What is broken, as bits of one word that any thread sets and any thread reads.
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
