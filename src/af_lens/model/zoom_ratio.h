// Zoom ratios and 16-bit positions: the scales of the screen and of the serial protocol.
//
// Everything about a ratio count follows from the count, so the readers derive what they need from
// one word, the count in force, and never meet half-built maps while the host changes it. The
// exported maps show the same values to service tools.
#pragma once

#include "autofocus_service.h"

static const int kFewestRatios = 18;
static const int kMostRatios = 36;
static const int kTelePoint = 60; ///< Number of the quarter point at the tele end; 0 is wide.

extern "C" {

/// Fill gPositionMap and put the present count in force.
void Lens_Init_ZPMAP(void);
}

/// Build both maps for the present count: Lens_Init_OSDMULMAP(), then Lens_Init_ZPMAP().
void buildRatioMaps();

/// Quarter point at which ratio number @p m (0 for 1x) sits when @p count ratios are spread.
int quarterPointOfRatio(int m, int count);

/// 16-bit position of quarter point @p point, 0 to 60, with @p count ratios; 0 for a count of 0.
unsigned short position16OfPoint(int point, int count);

/// 16-bit position of a grid point in the maps in force.
unsigned short position16OfGridPoint(int index1, int index2);

/// First quarter point, 0 to 60, whose 16-bit position is at least @p rzp; 60 when there is none.
int firstPointAtOrAbove(unsigned short rzp);

/// Publish where the lens is, unless it is still where it was when @p published was published: on a
/// host's thread it may have moved on meanwhile, and come to rest.
void publishZoomFrom(unsigned int published);
void publishFocusFrom(unsigned int published);
