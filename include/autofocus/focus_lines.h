/*
 * The zoom grid, 16 tag points with four quarters each, and the focus lines over it: where the
 * focus is sharp at each grid point, for an object at infinity and at 2 m. Positions are motor
 * steps counted from 10000 at the wide end (zoom) and at the near end (focus).
 */
#ifndef AUTOFOCUS_FOCUS_LINES_H
#define AUTOFOCUS_FOCUS_LINES_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A focus line: in-focus focus position at each zoom tag point and quarter; as FOCUS_POINT. */
typedef struct {
    unsigned int tagPosition[16][4];
} FLine_Tagposition_ST;

extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Run[16];         /**< Zoom tag points. */
extern AUTOFOCUS_EXPORT FLine_Tagposition_ST g_FLineInfo;     /**< Infinity line. */
extern AUTOFOCUS_EXPORT FLine_Tagposition_ST g_FLineInfo_2M;  /**< 2 m line. */
extern AUTOFOCUS_EXPORT FLine_Tagposition_ST g_FLineInfo_Tmp; /**< Line between the two. */
extern AUTOFOCUS_EXPORT unsigned int g_Interpolation[16][4];  /**< Distance between the two. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Run[16][4];      /**< Quarter steps, infinity. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Run_2M[16][4];   /**< Quarter steps, 2 m. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Run_Tmp[16][4];  /**< Quarter steps, between. */
extern AUTOFOCUS_EXPORT int g_FLineFlag; /**< Line to follow: 0 infinity, 1 2 m, 2 between. */
extern AUTOFOCUS_EXPORT unsigned int tagGroup[5][40];    /**< 2 m lines, sensor 1. */
extern AUTOFOCUS_EXPORT unsigned int tagGroup290[5][40]; /**< 2 m lines, other sensors. */

AUTOFOCUS_EXPORT void Lens_Init_FLineInfo(void);     /**< Built-in infinity line. */
AUTOFOCUS_EXPORT void Lens_Init_2MFocusLine(void);   /**< 2 m line that fits the infinity line. */
AUTOFOCUS_EXPORT void Lens_Init_Interpolation(void); /**< Distances between the two. */
AUTOFOCUS_EXPORT void Lens_Set_FocusStep(void);      /**< Quarter steps of both. */

/** Build the line @p ratio (0 infinity to 1 2 m) of the way, and its quarter steps. */
AUTOFOCUS_EXPORT void Lens_Set_FocusStepTmp(float ratio);

/** @return the line that g_FLineFlag selects. */
AUTOFOCUS_EXPORT FLine_Tagposition_ST *Lens_Get_FocusLine(void);

/** @return the focus steps of quarter (@p i, @p j) on that line, low 8 bits; 0 for a bad flag. */
AUTOFOCUS_EXPORT unsigned char Lens_Get_FocusStep(int i, int j);

/** @return the zoom tag segment of the present zoom position, 15 at the tele end; -1 outside. */
AUTOFOCUS_EXPORT int Lens_Get_FLTagIndex(void);

/**
 * @return the in-focus position on the infinity line at the present zoom position, interpolated
 *         between the tag points around it; -1 outside the grid.
 */
AUTOFOCUS_EXPORT int Lens_Get_FLTagPosition(void);

/** Grid point at or below @p zp. @return 0; -1 with a message and nothing written outside. */
AUTOFOCUS_EXPORT int Lens_Get_ZoomIndex(int *index1, int *index2, unsigned int zp);

/** Focus range at a grid point: 2 m line (near) to infinity line (far), in the limits. @return 0.
 */
AUTOFOCUS_EXPORT int Lens_Get_SearchRange(int index1, int index2, unsigned int *nP,
                                          unsigned int *fP);

/** Choose the line that zoom tracking follows from where the focus stands. */
AUTOFOCUS_EXPORT void Lens_FCurve_Choise(int index1, int index2);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_FOCUS_LINES_H */
