// Chosen at power-on, only read afterwards.
#include "optics/scene_view.h"

#include <cmath>

#include "optics/generated_scene.h"
#include "optics/picture.h"

namespace vcam {

static Picture &pictureInHand() {
    static Picture picture;
    return picture;
}

ViewScale scaleView(double zoomFactor) {
    const double pixels = kViewWidth * zoomFactor;
    return {static_cast<float>(1 / pixels), static_cast<float>(std::log2(pixels))};
}

Rgb sampleScene(const SceneSample &at) {
    const Picture &picture = pictureInHand();
    return picture.isLoaded() ? picture.sample(at) : paintScene(at);
}

bool chooseScene(const std::string &picturePath, bool isPlain) {
    Picture &picture = pictureInHand();
    picture = Picture{};
    return picturePath.empty() || picture.load(picturePath, isPlain);
}

} // namespace vcam
