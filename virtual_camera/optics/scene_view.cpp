// Chosen at power-on, only read afterwards.
#include "optics/scene_view.h"

#include "optics/generated_scene.h"
#include "optics/picture.h"

namespace vcam {
namespace {

Picture &pictureInHand() {
    static Picture picture;
    return picture;
}

} // namespace

SceneSample placePixel(float column, float row, float zoomFactor) {
    const float size = 1 / (static_cast<float>(kViewWidth) * zoomFactor);
    return {(column + 0.5F - kViewWidth / 2.0F) * size, (row + 0.5F - kViewHeight / 2.0F) * size,
            size};
}

Rgb sampleScene(const SceneSample &at) {
    const Picture &picture = pictureInHand();
    return picture.isLoaded() ? picture.sample(at) : paintScene(at);
}

bool chooseScene(const std::string &picturePath) {
    Picture &picture = pictureInHand();
    picture = Picture{};
    return picturePath.empty() || picture.load(picturePath);
}

} // namespace vcam
