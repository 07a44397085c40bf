// What a rival search has of the camera: the focus motor, moved by the library's own counted moves,
// and the same statistics record that the library judges, one a frame. It counts what it is asked.
#pragma once

#include <functional>

namespace lab {

struct FocusRange {
    int near;
    int far;
};

class RivalLens {
public:
    /// @p atEachFrame is called before each frame that a search waits for.
    explicit RivalLens(const std::function<void()> &atEachFrame);

    /// Where the focus is counted to stand.
    static int position();

    /// Drive there, kept within the travel; returns when the motor stands.
    void moveTo(int target);

    /// The focus value of a frame that was exposed after the last move, the mean of @p frames of
    /// them.
    double look(int frames = 1);

    /// moveTo() and look().
    double lookAt(int target, int frames = 1);

    /// What the library searches at this zoom: its lines for 2 m and infinity, and as much again on
    /// either side as the library's own widening takes.
    FocusRange range() const;

    /// Half the depth of focus at this zoom, in steps, as the library's table has it.
    static double halfDepth();

    int reversals() const { return turned; }
    long steps() const { return travelled; }
    unsigned samples() const { return looked; }

private:
    std::function<void()> lookOn;
    int tag = 0;
    int quarter = 0;
    int direction = 0;
    int turned = 0;
    long travelled = 0;
    unsigned looked = 0;
};

} // namespace lab
