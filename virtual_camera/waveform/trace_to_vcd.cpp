// Draws a trace that is there already, of a test or of a host of one's own.
#include "waveform/waveform.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

static const char kUsage[] =
    "usage: trace_to_vcd TRACE VCD\n"
    "Draws a virtual camera's TRACE as a waveform, a value change dump, into the file VCD.\n";

static bool isSameFile(const char *one, const char *other) {
    std::error_code ignored; // of a file that is not there yet
    return std::filesystem::equivalent(one, other, ignored);
}

int main(int argc, char **argv) {
    if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0))
        return fputs(kUsage, stdout) >= 0 && fflush(stdout) == 0 ? 0 : 1;
    if (argc != 3 || argv[1][0] == '-' || argv[2][0] == '-') {
        fputs(kUsage, stderr);
        return 2;
    }
    std::string error;
    if (isSameFile(argv[1], argv[2]))
        error = std::string(argv[1]) + ": the trace would be overwritten";
    else if (vcam::writeWaveform(argv[1], argv[2], error))
        return 0;
    fprintf(stderr, "trace_to_vcd: %s\n", error.c_str());
    return 1;
}
