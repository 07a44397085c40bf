/*
 * The motor driver chip: channel AB drives the zoom, CD the focus.
 */
#ifndef AUTOFOCUS_MOTOR_DRIVER_H
#define AUTOFOCUS_MOTOR_DRIVER_H

#include "autofocus.h"
#include "autofocus/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** One row of the VD timing table. */
typedef struct {
    unsigned char step[2];   /**< Steps it serves: [0] first period of a soft start, [1] running. */
    unsigned int psumxintct; /**< Period total in the chip's units, and VD period in us. */
} MS_VDTime_ST;

extern AUTOFOCUS_EXPORT const MS_VDTime_ST g_VDTAndStep[7];

AUTOFOCUS_EXPORT void MS419XX_Init(void);            /**< SPI, GPIO lines, reset, registers. */
AUTOFOCUS_EXPORT void MS419XX_Rest(void);            /**< Reset pulse, 10 ms low. */
AUTOFOCUS_EXPORT void MS419XX_Init_Register(void);   /**< Start-up register list, one VD. */
AUTOFOCUS_EXPORT void MS419XX_Printf_Register(void); /**< Read back and print. */

/** Program @p type's channel for a 25 ms period. @return 0; -1 with a message, nothing written. */
AUTOFOCUS_EXPORT int MS419XX_Set_PSUM_ICNT_Register(MS_Action_em type, unsigned char nStep,
                                                    MS_LED_em emLed);
/** Program both channels for a period of column @p flag (0 or 1) of the timing table. @return 0; -1
 * for another flag, nothing written. */
AUTOFOCUS_EXPORT int MS419XX_Set_PSUM_ICNT_RegSync(int flag, MS_Action_em zType,
                                                   unsigned char zStep, MS_Action_em fType,
                                                   unsigned char fStep, MS_LED_em emLed);
/** Program the focus channel for a 10 ms period. @return 0; -1 with a message, nothing written. */
AUTOFOCUS_EXPORT int MS419XX_Set_PSUM_ICNT_RegofFocus(MS_Action_em type, unsigned char nStep);

AUTOFOCUS_EXPORT void MS419XX_Break_MotorAB(MS_LED_em emLed); /**< Stand and hold, zoom. */
AUTOFOCUS_EXPORT void MS419XX_Break_MotorCD(MS_LED_em emLed); /**< Stand and hold, focus. */
AUTOFOCUS_EXPORT void MS419XX_Stop_MotorAB(void);
AUTOFOCUS_EXPORT void MS419XX_Stop_MotorCD(void);

/* VD pulses: each returns when its period has passed. */
AUTOFOCUS_EXPORT void MS419XX_VDFZ(void); /**< 25000 us. */
AUTOFOCUS_EXPORT void MS419XX_VDF(void);  /**< 10000 us. */
/** Period from column @p flag of the timing table for the larger of the two steps; none for a flag
 * other than 0 and 1. */
AUTOFOCUS_EXPORT void MS419XX_VDZ(int flag, unsigned char zStep, unsigned char fStep);
AUTOFOCUS_EXPORT void MS419XX_VDIR(void);         /**< Second VD line, 17000 us. */
AUTOFOCUS_EXPORT void MS419XX_VD_Test(int delay); /**< @p delay us. */

/* Poll the chip's busy lines every 100 us until they read 0, or cannot be read. */
AUTOFOCUS_EXPORT void MS419XX_Wait_Motor_Stop(void);
AUTOFOCUS_EXPORT void MS419XX_Wait_MotorAB_Stop(void);
AUTOFOCUS_EXPORT void MS419XX_Wait_MotorCD_Stop(void);

AUTOFOCUS_EXPORT void MS419XX_Set_PPWAB_Register(unsigned int ppw); /**< Peak pulse width. */
AUTOFOCUS_EXPORT void MS419XX_Set_PPWCD_Register(unsigned int ppw);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_MOTOR_DRIVER_H */
