/*
 * Zoom ratios and 16-bit positions, the scale of the serial protocol, of the grid points. Positions
 * are motor steps counted from 10000 at the wide end (zoom) and at the near end (focus).
 */
#ifndef AUTOFOCUS_ZOOM_RATIO_H
#define AUTOFOCUS_ZOOM_RATIO_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Where on the zoom grid a zoom ratio sits. */
typedef struct {
    int index1; /**< Zoom tag point, 0 to 15. */
    int index2; /**< Quarter, 0 to 3. */
    int ratio;  /**< Zoom ratio, 1 to 36; 0 marks an empty entry. */
} Lens_Index_Map;

extern AUTOFOCUS_EXPORT const unsigned short gZRPosition[36]; /**< 16-bit position of 1x to 36x. */
extern AUTOFOCUS_EXPORT unsigned int gOSDMultipleMax;         /**< Ratio at the tele end, 18..36. */
extern AUTOFOCUS_EXPORT Lens_Index_Map gOSDMultipleMap[36];   /**< Grid point of each ratio. */
extern AUTOFOCUS_EXPORT int g_Average, g_Remainder;           /**< Quarters a gap, and left over. */
extern AUTOFOCUS_EXPORT unsigned short gPositionMap[16][4];   /**< 16-bit position of each point. */

/** Set the ratio count without building the maps. @return 0; -1 with a message outside 18..36. */
AUTOFOCUS_EXPORT int Lens_Init_OSDMultiple(unsigned int multiple);
AUTOFOCUS_EXPORT void Lens_Init_OSDMULMAP(void); /**< Spread the ratios over the zoom range. */
/** Set the ratio count and build the maps. @return 0; -1 with a message outside 18..36. */
AUTOFOCUS_EXPORT int Lens_Reset_OSDMULMAP(unsigned int multiple);
/** Publish @p azp's 16-bit position and ratio. @return the position; 65535 outside the grid. */
AUTOFOCUS_EXPORT unsigned short Lens_Map_ZPosition(unsigned int azp);
/** Publish @p afp's 16-bit position. @return it; 49152 near to 4096 far. */
AUTOFOCUS_EXPORT unsigned short Lens_Map_FPosition(unsigned int afp);
AUTOFOCUS_EXPORT int Lens_Set_Multiple(int value); /**< On-screen ratio. @return 0. */

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_ZOOM_RATIO_H */
