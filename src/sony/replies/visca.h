// VISCA with an answer to every frame to camera 1. Serial thread.
#pragma once

/// Obey a whole frame to anybody; it may be changed. @return false when it has to be given again
/// later, before any other.
bool answerVisca(unsigned char *frame, int length);
