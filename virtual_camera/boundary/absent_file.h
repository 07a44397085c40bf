// The file that was looked for last and was not there: a camera looks each frame for a switch that
// nobody has set. Answered in memory for a virtual second, or until this program makes a file.
#pragma once

namespace vcam {

bool isKnownAbsent(const char *path);
void noteAbsent(const char *path);

/// A file may have been made.
void forgetAbsent();

} // namespace vcam
