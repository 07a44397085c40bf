// What happened, in virtual time: one line an event, "time_us thread device event key=value ...".
//
//     11136 host shell run command="himm 0x200f0158 0x1"
//     1011136 SonyVisca serial read bytes=8101ff
//
// The lines hold nothing that differs between two runs of one scenario: no pointer, no thread
// number of the kernel, no real time. Called by whichever registered thread holds the baton.
#pragma once

#include <string>
#include <vector>

namespace vcam {

/// Add a line. @p format gives the key=value text and may be empty.
void trace(const char *device, const char *event, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/// Something that the hardware would not forgive: counted, kept and traced.
void recordViolation(const char *device, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

int violationCount();
const std::vector<std::string> &violations();

/// Start the trace; with an empty path only the tail is kept. False when the file cannot be made.
bool openTrace(const std::string &path);

/// The file's path, empty when there is none.
const std::string &tracePath();

/// Hand what is buffered to the file: before _exit, and whenever someone wants to look. False, with
/// errno, when a part of the trace is not in it.
bool flushTrace();

/// The same, for the last time.
bool closeTrace();

/// Write the last @p lineCount lines at most to a descriptor; takes no memory, so that a signal
/// handler may call it.
void writeTraceTail(int descriptor, int lineCount);

} // namespace vcam
