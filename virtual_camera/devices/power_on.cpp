// The order matters only in that the curves and the zones need the scene, which needs nothing.
#include "devices/power_on.h"

#include <cstdio>
#include <cstdlib>

#include "devices/driver_chip.h"
#include "devices/gpio.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "devices/spidev.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "optics/scene_view.h"
#include "optics/zone_values.h"

namespace vcam {

void powerOnDevices(const CameraOptions &options) {
    powerOnScene(options);
    if (!chooseScene(options.picture)) {
        std::fprintf(stderr, "%s: not a PNG or JPEG picture\n", options.picture.c_str());
        std::exit(EXIT_FAILURE);
    }
    powerOnLens(options);
    powerOnLensCurves(options);
    powerOnZoneValues(options);
    powerOnDriverChip(options);
    powerOnSpidev(options);
    powerOnGpio(options);
    powerOnIsp(options);
}

} // namespace vcam
