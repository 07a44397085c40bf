/*
 * Calibration runs: minutes, in front of a distant, detailed target, on the lens-control thread.
 */
#ifndef AUTOFOCUS_CALIBRATION_H
#define AUTOFOCUS_CALIBRATION_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT unsigned int g_AFVDLimit; /**< Focus value a pass must exceed, 4000. */
extern AUTOFOCUS_EXPORT unsigned int g_AFVULimit; /**< Starting value of a pass minimum. */

/** Measure the infinity curve, then store CMD_NONE, unless another command has come. Minutes. */
AUTOFOCUS_EXPORT void lensFocusLine(void);

/** Measure the infinity line, rebuild the tables, hand the line to the host. */
AUTOFOCUS_EXPORT void Lens_Generate_FocusLine2(void);
/** Write zoom, in-focus position and difference to /mnt/flash/data/ZFCurve.txt. */
AUTOFOCUS_EXPORT void Lens_Draw_CurveOfZoomAndFocus(void);
/** The same at quarter points, relative to the limits, to /mnt/flash/data/ZFCurve2.txt. */
AUTOFOCUS_EXPORT void Lens_Draw_CurveOfZoomAndFocus2(void);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_CALIBRATION_H */
