// Pelco-D for address 1 with everything that a lens can obey. Serial thread.
#pragma once

/// Obey a whole frame whose checksum is right, to anybody.
void obeyPelcoD(const unsigned char *frame);
