// The preset tables: 255 pairs of positions and their 16-bit copies, kept by the host.
//
// The lens thread and host threads set and clear presets, one at a time until the host's callback
// returns: another one waits, a second at most. A pair is stored so that a reader never takes half
// of an old one and half of a new one.
#pragma once

#include "autofocus/preset_table.h" // IWYU pragma: export

extern "C" {

/// Clear the table and load it from the host; 0 or -1.
int Lens_Read_PresetInfo(void);

/// Store a pair and hand the whole table to the host; the host's result, or -1 for a bad number.
/// Whoever calls it holds the table.
int Lens_Write_PresetInfo(int pst, unsigned int azp, unsigned int afp);

/// Store the 16-bit copies of a pair; 0, or -1 for number 255.
int Lens_Map_PstPosition(unsigned char pst, unsigned int azp, unsigned int afp);
}

/// Whether @p pst is a preset number.
bool isPresetNumber(int pst);

/// The pair of preset @p pst; zeros when it is empty.
void readPreset(int pst, unsigned int *zoom, unsigned int *focus);

/// First preset that is set and stands at 16-bit zoom position @p rzp; -1 when there is none.
int findPresetAtPosition16(unsigned short rzp);
