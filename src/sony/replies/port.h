// Writing to the host's port, each message by itself. What cannot be written at once is dropped.
// Serial thread.
#pragma once

/// Make @p fd the port: nothing that is written to it waits, and a single byte can be read.
void openPort(int fd);

void sendBytes(const unsigned char *bytes, int count);

/// A VISCA message: 90, @p head, @p payload, FF.
void sendReply(unsigned int head, const unsigned char *payload, int count);

/// An error of VISCA on @p socket, 0: none.
void sendError(int socket, unsigned char error);

static const unsigned char kSyntaxError = 0x02;
static const unsigned char kBufferFull = 0x03;
static const unsigned char kCancelled = 0x04;
static const unsigned char kNothingToCancel = 0x05;
static const unsigned char kNotExecutable = 0x41;
