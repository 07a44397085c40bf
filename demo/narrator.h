// What the library tells and the serial port answers, put into words and times: the events of its
// control header and the controller's side of VISCA and Pelco-D.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

struct Line {
    double timeS;
    std::string text;
};

/// From now on the ends of orders are taken down, on the library's threads.
void listenToEvents();

/// What has been told since, and what the port has answered by now, in frames; oldest first.
std::vector<Line> takeLines();

/// A reply with what it means.
std::string explainReply(const std::vector<uint8_t> &frame);

/// An AF_Outcome_em.
std::string nameOutcome(unsigned outcome);

} // namespace demo
