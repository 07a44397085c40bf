// Zoom ratios and 16-bit positions: the scales of the screen and of the serial protocol.
//
// The maps are what everybody reads, service tools included. The host rebuilds them on its own
// thread: a reader looks again when they have changed under its eyes, so it never takes a value of
// half-built ones.
#pragma once

#include "autofocus/zoom_ratio.h" // IWYU pragma: export

static const int kFewestRatios = 18;
static const int kMostRatios = 36;
static const int kTelePoint = 60; ///< Number of the quarter point at the tele end; 0 is wide.

/// Build both maps as one for the present count.
void buildRatioMaps();

/// 16-bit position of a grid point.
unsigned short position16OfGridPoint(int index1, int index2);

/// First quarter point, 0 to 60, whose 16-bit position is at least @p rzp; 60 when there is none.
int firstPointAtOrAbove(unsigned short rzp);

/// Publish where the lens is, unless it is still where it was when @p published was published: on a
/// host's thread it may have moved on meanwhile, and come to rest.
void publishZoomFrom(unsigned int published);
void publishFocusFrom(unsigned int published);

/// 16-bit position of the grid point at or below @p zoom; 65535 outside the grid.
unsigned short position16OfZoom(unsigned int zoom);

/// 16-bit position of a focus position, and the nearest focus position of a 16-bit one.
unsigned short position16OfFocus(unsigned int focus);
unsigned int focusOfPosition16(unsigned short rfp);
