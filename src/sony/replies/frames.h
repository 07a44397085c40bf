// Where a frame begins and ends in a stream of bytes, whatever came before it: VISCA to anybody,
// Pelco-D to anybody. Pure.
#pragma once

static const int kLongestFrame = 16;
static const int kPelcoFrame = 7;
static const unsigned char kFrameEnd = 0xFF; ///< Of VISCA; Pelco-D begins with the same byte.

/// What @p bytes, one at least, begin with. @return the length of a whole frame; 0 when the rest is
/// yet to come; below 0 when so many bytes begin none.
int measureFrame(const unsigned char *bytes, int count);
