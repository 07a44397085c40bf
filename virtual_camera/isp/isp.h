// The image signal processor: frames, focus statistics and exposure. The HI_MPI_ISP_... calls that
// the library leaves undefined are defined in isp.cpp.
//
// Models: frames at a fixed rate; 8 x 8 focus zones of the frame that ended last, seen through the
// lens as it stood at that frame's end (the exposure is short and sits just before the VD); gains
// that rise at night; lamps that saturate zones; the window and the focus configuration. With the
// flaw of an exposure a frame is the mean of eight looks through the lens while it lasts; with the
// flaw of a delay the zones are those of a frame up to four earlier. Does not model: an exposure
// that settles, rolling shutter, other statistics engines, other grids. Faults: any call made to
// fail from a given frame on; a sensor that stops delivering frames.
#pragma once

#include <cstdint>

#include "camera_options.h"

namespace vcam {

enum class IspCall {
    GetStatisticsConfig,
    SetStatisticsConfig,
    GetPubAttr,
    GetVdTimeOut,
    GetStatistics,
    QueryExposureInfo
};

/// The call returns `code` the next `times` times (-1: always), once `fromFrame` frames have ended.
void failIspCall(IspCall call, int32_t code, int times, int64_t fromFrame = 0);

/// No frame ends from now until that instant.
void stallFramesUntilUs(int64_t timeUs);

/// Number of the frame that ended last. The sensor's clock runs on through a stall, so the numbers
/// of the frames that were not delivered are left out.
int64_t frameCount();

/// Lamps in the picture: bit row * 8 + column saturates that zone at night.
void saturateZones(uint64_t zoneMask);

/// Another picture size than 1920 x 1080, for a host that has configured one.
void setWindow(uint32_t widthPx, uint32_t heightPx);

/// What a person watches: the weighted average of the finer filter over the picture's centre (zone
/// rows and columns 2 to 5), of the frame that ended last.
double focusValue();

/// The same over the whole picture.
double wholeFocusValue();

void powerOnIsp(const CameraOptions &options);

} // namespace vcam
