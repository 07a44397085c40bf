/*
 * The ISP's focus statistics, one record a frame, and the refocus trigger that watches them.
 */
#ifndef AUTOFOCUS_STATISTICS_H
#define AUTOFOCUS_STATISTICS_H

#include "autofocus.h"
#include "autofocus/types.h"

#include <pthread.h>

#ifdef __cplusplus
extern "C" {
#endif

/** One frame's gains and focus sums; written by the statistics thread. */
typedef struct {
    unsigned int AGain;       /**< Analogue gain, in the ISP's unit. */
    unsigned int DGain;       /**< Sensor digital gain, in the ISP's unit. */
    unsigned int ISPGain;     /**< ISP digital gain, in the ISP's unit. */
    unsigned int vV1SumHalf;  /**< Sum of the first vertical filter over the centre zones. */
    unsigned int vV2SumHalf;  /**< Sum of the second vertical filter over the centre zones. */
    unsigned int vH1SumHalf;  /**< Sum of the first horizontal filter over the centre zones. */
    unsigned int vH2SumHalf;  /**< Sum of the second horizontal filter over the centre zones. */
    unsigned int vwV1SumAll;  /**< Weighted average of the first focus value, whole picture. */
    unsigned int vwV2SumAll;  /**< Weighted average of the second focus value, whole picture. */
    unsigned int vwV1SumHalf; /**< Weighted average of the first focus value, centre. */
    unsigned int vwV2SumHalf; /**< Weighted average of the second focus value, centre. */
} AF_Statistics_Info;

extern AUTOFOCUS_EXPORT const int Weight[8][8];            /**< Zone weights, row and column. */
extern AUTOFOCUS_EXPORT AF_Statistics_Info g_AFStatistics; /**< Last record; under afv_lock. */
extern AUTOFOCUS_EXPORT pthread_mutex_t afv_lock;
extern AUTOFOCUS_EXPORT pthread_cond_t afv_ready; /**< Signalled once a record. */

/** Body of the statistics thread. */
AUTOFOCUS_EXPORT void *afvManageThread(void *unused);

/** Wait for the next record, at most about 1 s, and copy the last one published. */
AUTOFOCUS_EXPORT void afStatisticsFresh(AF_Statistics_Info *statistics);

extern AUTOFOCUS_EXPORT int g_AutoCheckEnable; /**< Master enable of the refocus trigger. */
extern AUTOFOCUS_EXPORT int g_AutoCheckFlag;   /**< 1 armed, 0 disarmed. */
extern AUTOFOCUS_EXPORT int g_AFVClearMax;     /**< Focus value of the last peak. */
extern AUTOFOCUS_EXPORT float g_AFRatio;       /**< Relative tolerance around it, 0.2. */

/** Refocus trigger, once a frame on the statistics thread. */
AUTOFOCUS_EXPORT void lensAutoFocusCheck(unsigned int afv1, unsigned int afv2);

/** Disarm the refocus trigger for CMD_MFMODE, arm it for any other value. */
AUTOFOCUS_EXPORT void lensFocusMode(AF_CMD_em emCmd);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_STATISTICS_H */
