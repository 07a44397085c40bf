/*
 * The moves that every lens command is built from. Unless stated otherwise, functions that move the
 * lens block until the move is over and may run on one thread at a time: the start-up thread, then
 * the lens-control thread. Positions are motor steps counted from 10000 at the wide end (zoom) and
 * at the near end (focus).
 */
#ifndef AUTOFOCUS_MOVES_H
#define AUTOFOCUS_MOVES_H

#include "autofocus.h"
#include "autofocus/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Search both photo-interrupters; counters set on success. @return 0; -1, counters unchanged. */
AUTOFOCUS_EXPORT int Lens_Check_PIPosition(void);

/** Go from the photo-interrupter positions to (@p desZP, @p desFP) and store the position. */
AUTOFOCUS_EXPORT void Lens_To_Destination(unsigned int desZP, unsigned int desFP);

/** Soft start of a tracked zoom: the first step in two periods, a quarter and the rest. */
AUTOFOCUS_EXPORT void Lens_Starting(MS_Action_em zType, unsigned char zStep, MS_Action_em fType,
                                    unsigned char fStep);

/**
 * Clip proposed steps to the room left before the limits.
 *
 * @param zType,fType  directions; one that is not of its axis skips the axis.
 * @param zStep,fStep  in: proposed steps; out: what there is room for. May be NULL when skipped.
 * @return bit 0: no room for the zoom, bit 1: none for the focus.
 */
AUTOFOCUS_EXPORT int Lens_Check_AllowanceForSteps(MS_Action_em zType, unsigned char *zStep,
                                                  MS_Action_em fType, unsigned char *fStep);

/** Advance the counter of @p type's axis and publish its 16-bit position. */
AUTOFOCUS_EXPORT void Lens_Fresh_ZFLocation(MS_Action_em type, unsigned char nStep);

/** Focus-only move that nothing interrupts. @return 0. */
AUTOFOCUS_EXPORT int lensMotorFocusRunSteps(MS_Action_em fType, int fSteps);

/** The same, ended by a command that interrupts focusing. @return 1 when interrupted, else 0. */
AUTOFOCUS_EXPORT int lensMotorFocusRun(MS_Action_em fType, int fSteps);

/** Zoom while @p emCmd stays in the mailbox, the focus following. @return the mailbox value. */
AUTOFOCUS_EXPORT unsigned int lensMotorZoomCtrl(AF_CMD_em emCmd);

/** Steps and focus direction of the next tracking period toward @p type. */
AUTOFOCUS_EXPORT void Lens_Get_DirAndStep2(MS_Action_em type, unsigned char *zStep,
                                           unsigned char *fStep, MS_Action_em *focusDir);

/** Move the focus by hand while @p emCmd stays in the mailbox. @return the mailbox value. */
AUTOFOCUS_EXPORT unsigned int lensMotorFocusCtrl(AF_CMD_em emCmd);

/** Zoom to 16-bit position @p rzp with the focus following; not stored. @return 0. */
AUTOFOCUS_EXPORT int Lens_Direct_ZPosition(unsigned short rzp);
/** Restore, preset or direct zoom. @return 1 when an autofocus run is to follow, else 0. */
AUTOFOCUS_EXPORT int Lens_Direct_ZFPosition(unsigned short rzp, unsigned short rfp);

/** @return 0 when a move was attempted or none needed; -1 for a bad number or empty preset. */
AUTOFOCUS_EXPORT int Lens_Goto_Preset(int pst);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_MOVES_H */
