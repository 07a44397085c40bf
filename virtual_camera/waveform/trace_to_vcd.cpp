// Draws a trace that is there already, of a test or of a host of one's own.
#include "waveform/waveform.h"

#include <cstdio>

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: trace_to_vcd TRACE VCD\n");
        return 2;
    }
    std::string error;
    if (vcam::writeWaveform(argv[1], argv[2], error))
        return 0;
    fprintf(stderr, "trace_to_vcd: %s\n", error.c_str());
    return 1;
}
