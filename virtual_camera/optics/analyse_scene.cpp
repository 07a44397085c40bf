// Part of the build: writes the generated scene's spectra, every zoom key's, into a file that
// key_spectra.cpp makes part of the camera.
#include <cstdio>
#include <cstdlib>

#include "optics/zone_spectra.h"

int main(int argc, char **argv) {
    FILE *file = argc == 2 ? fopen(argv[1], "wb") : nullptr;
    if (file == nullptr) {
        fprintf(stderr, "usage: analyse_scene FILE\n");
        return EXIT_FAILURE;
    }
    bool isWritten = true;
    for (size_t key = 0; key < vcam::kKeyCount; ++key) {
        const vcam::ViewSpectra view = vcam::analyseView(key);
        isWritten = fwrite(&view, sizeof view, 1, file) == 1 && isWritten;
    }
    return fclose(file) == 0 && isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}
