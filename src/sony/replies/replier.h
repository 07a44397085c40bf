// The serial port with replies: reads what is there, cuts it into frames, has each answered, and
// tells the controller how its orders end. Serial thread.
#pragma once

/// Read from @p fd, which openPort() has made the port, and answer until select fails, then null.
/// Where Pelco-D is not to be answered, a frame of it comes back to the caller, who goes on by
/// calling again.
unsigned char *answerUntilPelcoD(int fd);
