#include "optics/key_spectra.h"

#include <memory>

// What analyse_scene wrote when this program was built: kKeyCount records of ViewSpectra.
asm(".pushsection .rodata\n"
    ".balign 64\n"
    "generatedSceneSpectra: .incbin \"" GENERATED_SCENE_SPECTRA "\"\n"
    ".popsection\n");

extern "C" __attribute__((visibility("hidden")))
const vcam::ViewSpectra generatedSceneSpectra[vcam::kKeyCount];

namespace vcam {

static bool isGenerated = true;
static std::unique_ptr<ViewSpectra> pictureSpectra[kKeyCount];

const ViewSpectra &spectraOfKey(size_t key) {
    if (isGenerated)
        return generatedSceneSpectra[key];
    std::unique_ptr<ViewSpectra> &spectra = pictureSpectra[key];
    if (spectra == nullptr)
        spectra = std::make_unique<ViewSpectra>(analyseView(key));
    return *spectra;
}

void powerOnKeySpectra(const CameraOptions &options) {
    isGenerated = options.picture.empty();
}

} // namespace vcam
