/*
 * One autofocus run and its parts. Unless stated otherwise, functions that move the lens block
 * until the move is over and may run on one thread at a time: the start-up thread, then the lens-
 * control thread.
 */
#ifndef AUTOFOCUS_AUTOFOCUS_RUN_H
#define AUTOFOCUS_AUTOFOCUS_RUN_H

#include "autofocus.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** One autofocus run. @return the command that is to run next. */
AUTOFOCUS_EXPORT unsigned int lensFocusCtrl(AF_CMD_em emCmd);

/** Step of the next coarse sample, from the slopes since the reference record. */
AUTOFOCUS_EXPORT unsigned char Lens_ImageDefinition_Check(AF_Statistics_Info *pOld,
                                                          AF_Statistics_Info *pNew, int *xStep,
                                                          int afvMax, unsigned char stepMax);

/** Wide search. @return 0 not far out of focus, 1 interrupted, 2 peak found, -1 gave up. */
AUTOFOCUS_EXPORT int GreatlyOutOfFocus(int index1, int index2, int limitN, int limitF,
                                       MS_Action_em *type, unsigned int *tag, unsigned int *afvMax);

/** A hook that does nothing. */
AUTOFOCUS_EXPORT void Lens_Peak_Detect(AF_Statistics_Info *pOld, AF_Statistics_Info *pNew,
                                       int *xStep, unsigned char fStep);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_AUTOFOCUS_RUN_H */
