// The books of a controller that believes what the camera answers: each frame gets the one answer
// that is its due, in order, and each command that was acknowledged ends once.
//
// An order that is sent again while it runs or is held is acknowledged again and ends once. A drive
// of the focus that is said to have arrived is looked for there.
//
// Any thread.
#pragma once

#include <string>

#include "host/controller_frames.h"

namespace books {

/// @p frame is about to be sent. At @p replies 1, Pelco-D is not answered.
void noteSent(const vcam::Bytes &frame, int replies);

/// Take what the camera has sent just now; what does not fit is a complaint, and that an order is
/// said to be done that isn't, by the true lens.
void noteHeard(const vcam::Bytes &bytes);

/// Complaints so far, and what is still owed; "" when all is well.
std::string settle();

/// How many commands were acknowledged.
long countAcknowledged();

} // namespace books
