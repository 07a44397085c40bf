/*
 * Where the lens stands, its travel and its step levels: set once by start-up, then written by the
 * thread that drives the motors. Positions are motor steps counted from 10000 at the wide end
 * (zoom) and at the near end (focus).
 */
#ifndef AUTOFOCUS_LENS_STATE_H
#define AUTOFOCUS_LENS_STATE_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Start, FM_Step_Start; /**< Origins, 10000. */
extern AUTOFOCUS_EXPORT unsigned int PI_Wide_Range, PI_Tele_Range; /**< Zoom PI to either end. */
extern AUTOFOCUS_EXPORT unsigned int PI_Near_Range, PI_Far_Range;  /**< Focus PI to either end. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Correct, ZM_Step_Surplus; /**< Zoom end margins. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Correct, FM_Step_Surplus; /**< Focus end margins. */
extern AUTOFOCUS_EXPORT unsigned int ZM_PI_Position, FM_PI_Position; /**< Counters at the edges. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Wide_Limit, ZM_Tele_Limit;
extern AUTOFOCUS_EXPORT unsigned int FM_Near_Limit, FM_Far_Limit;
extern AUTOFOCUS_EXPORT unsigned int FM_Lock_Start; /**< Where a calibration starts its focus. */
extern AUTOFOCUS_EXPORT unsigned char Step_Level_Uit, Step_Level_Min, Step_Level_Mid;
extern AUTOFOCUS_EXPORT unsigned char Step_Level_Max, Step_Level_Hig, Step_Level_Rst;

extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Local, FM_Step_Local;   /**< Where the lens stands. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Powoff, FM_Step_Powoff; /**< Before power-on. */
extern AUTOFOCUS_EXPORT unsigned int FM_Focus_Flag;  /**< 1: a manual-focus return point is kept. */
extern AUTOFOCUS_EXPORT unsigned int FM_Focus_Start; /**< That point. */
extern AUTOFOCUS_EXPORT int g_ZoomDir; /**< Last zoom direction, MS_Z_WIDE or MS_Z_TELE. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Total, FM_Step_Total, ZM_Step_Average; /**< Unused. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Return_Bad, FM_Return_Bad;                  /**< Unused. */

/** Copy the counters. @return 0; -1 and nothing written when a pointer is NULL. Any thread. */
AUTOFOCUS_EXPORT int Lens_Get_Location(unsigned int *zLocation, unsigned int *fLocation);

AUTOFOCUS_EXPORT void Lens_Print_Location(void);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_LENS_STATE_H */
