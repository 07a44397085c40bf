// The order matters only in that the curves and the zones need the scene, which needs nothing.
#include "power_on.h"

#include "devices/driver_chip.h"
#include "devices/gpio.h"
#include "devices/lens.h"
#include "devices/spidev.h"
#include "flaws/flaws.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "optics/scene_view.h"
#include "optics/zone_values.h"

namespace vcam {

bool powerOnDevices(const CameraOptions &options) {
    powerOnFlaws(options.flaws);
    powerOnScene(options);
    if (!chooseScene(options.picture, options.plainPicture))
        return false;
    powerOnLens(options);
    powerOnLensCurves(options);
    powerOnZoneValues(options);
    powerOnDriverChip(options);
    powerOnSpidev(options);
    powerOnGpio(options);
    powerOnIsp(options);
    return true;
}

} // namespace vcam
