// The picture as the sensor sees it now, for people and for documentation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vcam {

/// What a picture of an instant is made of.
struct SceneLook {
    double zoomFactor;
    float radius; ///< Of the blur disc, in pixels of a picture 960 wide; 60 at most.
    float light;
    float contrast; ///< 1: the scene's own.
    float grain;    ///< Deviation of a pixel, in levels of 255.

    bool operator==(const SceneLook &other) const {
        return zoomFactor == other.zoomFactor && radius == other.radius && light == other.light &&
               contrast == other.contrast && grain == other.grain;
    }
};

/// Of the present. Whoever holds the baton asks.
SceneLook lookNow();

/// Paints for eyes that watch, grain and lack of contrast too: one sample a pixel, the focused view
/// kept for as long as the zoom stands, and the wider the blur, the coarser the picture. May paint
/// on a thread that is not registered, since the scene itself is only read.
class ScenePainter {
public:
    /// The picture in RGB, valid until the next one; a draft, of a zoom that moves, is coarser.
    const std::vector<uint8_t> &paint(const SceneLook &look, bool isDraft);
    int width() const { return pictureWidth; }
    int height() const { return pictureHeight; }

private:
    struct Focused {
        double zoomFactor = 0;
        std::vector<float> sums;
    };
    Focused focused[4]; ///< Of each fineness.
    std::vector<uint8_t> rgb;
    size_t pictures = 0; ///< With grain.
    int pictureWidth = 0;
    int pictureHeight = 0;
};

/// Writes the present view, 960 x 540, with the present blur disc (always the disc; at most 120
/// pixels across) and light. False when the file cannot be written.
bool writeScenePng(const char *path);

/// Writes the widest view, 960 x 540, in focus and by day, with a frame around what the lens shows
/// of it now. False when the file cannot be written.
bool writeWholeScenePng(const char *path);

} // namespace vcam
