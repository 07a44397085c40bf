// Waiting for bytes on a descriptor.
#pragma once

/// As select(), which knows no descriptor from FD_SETSIZE on: 1 when @p fd can be read, 0 after
/// @p waitUs without, -1 with errno set.
int selectReadable(int fd, long waitUs);
