// The autofocus run that survives slack, late statistics and noise; the built-in one's place is
// taken where the setting says so. Lens-control thread.
#pragma once

/// Search at grid point (@p index1, @p index2) and stand where it is sharpest. @return the focus
/// value there, or 0 when a command has interrupted.
unsigned int searchRobustly(int index1, int index2);
