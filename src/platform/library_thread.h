// How the library starts a thread of its own.
#pragma once

/**
 * Start a thread with default attributes that runs @p body.
 *
 * The host's signals are for the host's threads: the new one blocks all of them from its first
 * instant, but for those that a fault of its own raises.
 *
 * @return 0; -1 when it cannot be created.
 */
int startLibraryThread(void *(*body)(void *));

/// The calling thread is one of the library's from here to its end. At the start of its body.
void enterLibraryThread();

/// Whether the calling thread is one of the library's.
bool isLibraryThread();
