// The books of a controller that believes what the camera answers: each frame gets the one answer
// that is its due, in order, and each command that was acknowledged ends once.
//
// An order that is sent again while it runs or is held is acknowledged again and ends once.
#pragma once

#include <string>

#include "host/controller_frames.h"

namespace books {

/// @p frame is about to be sent. At @p replies 1, Pelco-D is not answered.
void noteSent(const vcam::Bytes &frame, int replies);

/// Take what the camera has sent since; what does not fit is a complaint.
void noteHeard(const vcam::Bytes &bytes);

/// Complaints so far, and what is still owed; "" when all is well.
std::string settle();

/// How many commands were acknowledged.
long countAcknowledged();

} // namespace books
