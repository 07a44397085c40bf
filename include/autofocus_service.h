/*
 * What service and test tools need beside autofocus.h: the command mailbox, the lens state, the
 * tables, the motor driver and the utilities, as the library itself uses them; a header a subject,
 * and this one for all.
 *
 * None of this is needed to run a camera.
 */
#ifndef AUTOFOCUS_SERVICE_H
#define AUTOFOCUS_SERVICE_H

#include "autofocus.h"
#include "autofocus/autofocus_run.h"
#include "autofocus/calibration.h"
#include "autofocus/callbacks.h"
#include "autofocus/focus_lines.h"
#include "autofocus/gpio.h"
#include "autofocus/lens_control.h"
#include "autofocus/lens_state.h"
#include "autofocus/mailbox.h"
#include "autofocus/manual_stepping.h"
#include "autofocus/motor_driver.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/preset_table.h"
#include "autofocus/serial_protocol.h"
#include "autofocus/settings.h"
#include "autofocus/shared_memory.h"
#include "autofocus/spi.h"
#include "autofocus/startup.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "autofocus/utilities.h"
#include "autofocus/zoom_ratio.h"

#endif /* AUTOFOCUS_SERVICE_H */
