// Focus positions that the lens models were measured at: best focus over the zoom grid, for an
// object at infinity and at 2 m. A unit differs from these by its offset.
#pragma once

namespace vcam {

constexpr int kTagPoints = 16;
constexpr int kQuarters = 4;
constexpr int kGridPoints = (kTagPoints - 1) * kQuarters + 1;

/// Zoom steps from one tag point to the next.
constexpr int kSectionSteps[kTagPoints - 1] = {768, 768, 768, 768, 768, 768, 768, 768,
                                               768, 768, 768, 768, 512, 320, 224};

/// The wide sections are given at their tag points only; the quarters between follow evenly.
constexpr int kEvenSections = 7;

struct CurveTable {
    int tags[kEvenSections];                           ///< Tag points 0 to 6.
    int grid[kGridPoints - kEvenSections * kQuarters]; ///< From tag point 7, every quarter.
};

constexpr CurveTable kInfinityCurve = {
    {12234, 12106, 11970, 11824, 11668, 11504, 11332},
    {11160, 11118, 11078, 11036, //
     10998, 10960, 10926, 10894, //
     10864, 10840, 10822, 10810, //
     10806, 10812, 10830, 10860, //
     10908, 10972, 11060, 11170, //
     11310, 11420, 11550, 11698, //
     11868, 11984, 12112, 12250, //
     12404, 12522, 12642, 12780, //
     12914},
};

constexpr CurveTable kTwoMetreCurve = {
    {12212, 12082, 11946, 11798, 11638, 11466, 11284},
    {11094, 11054, 11008, 10956, //
     10912, 10874, 10830, 10784, //
     10748, 10720, 10690, 10662, //
     10642, 10630, 10626, 10636, //
     10664, 10704, 10754, 10838, //
     10934, 11022, 11114, 11222, //
     11354, 11444, 11534, 11644, //
     11750, 11838, 11926, 12016, //
     12122},
};

} // namespace vcam
