// Every number that the optics assume, with its unit and where it comes from.
#pragma once

namespace vcam {

struct OpticalModel {
    // The lens. An 18x zoom of this travel; typical data of its class, not of one product.
    double wideFocalMm = 4.7;
    double teleFocalMm = 84.6;
    double wideFNumber = 1.6; ///< Linear in the logarithm of the focal length up to
    double teleFNumber = 4.4; ///< this one.
    double circleUm = 2.9;    ///< Circle of confusion: one pixel.
    double pixelUm = 2.9;     ///< Pixel pitch of a 1/2.8 inch sensor with 1920 x 1080 pixels.

    // The unit. How far one lens differs from the next; mounting tolerances of the class.
    int mostOffset = 24; ///< Steps, either way, the same at every zoom position.
    int mostBend = 10;   ///< Steps, either way, varying smoothly over the zoom range.

    // What the sensor and a perfectly focused lens leave of a frequency (cycles per pixel).
    double lensCutoff = 0.55; ///< Gaussian: 1/e here. The pixel's own sinc comes on top.

    // The statistics engine: band-pass responses, centre in cycles per pixel and sharpness.
    // Assumed: the platform documents its filters' registers, not what its counts mean.
    double centre[4] = {0.23, 0.11, 0.20, 0.10}; ///< h1, h2, v1, v2
    double quality[4] = {1.5, 0.7, 1.5, 0.7};

    // Counts. The engine's gain follows the view: in focus, the weighted average of h1 is
    // focusedCounts for a view of usual contrast, and goes with contrast^contrastShare.
    double focusedCounts = 14500;
    double contrastShare = 0.15;
    double usualContrast = 9; ///< Band energy's root, in 8-bit luminance levels.
    double leastCounts = 12000;
    double mostCounts = 20000;
    double mostCountsPerLevel = 12000; ///< A view fainter than one level stays faint.
    double floorCounts = 180;          ///< From pixel noise, at gain 1, in quadrature.
    double noiseShare = 0.008;         ///< Deviation of one zone from frame to frame, at gain 1.

    // Night: a gain of 16, half of the contrast by day, lamps that bloom.
    int nightGain = 16;
    double nightContrast = 0.5;
    double nightLuminance = 0.2;
    double lampCounts = 9000;      ///< A saturated zone in focus; the rim of its disc adds as
    double lampRimPixels = 12;     ///< many again every so many pixels of blur,
    double lampMostCounts = 60000; ///< up to here.
    double lampLuminance = 64000;  ///< Of a saturated zone, full scale being 65535.
};

inline constexpr OpticalModel kOptics{};

} // namespace vcam
