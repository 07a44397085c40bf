// Who may talk to the server: pages that it has served itself, on this machine.
#pragma once

#include <string>

namespace view {

/// localhost, 127.0.0.1 or [::1], with any port: people forward ports. A foreign name that leads
/// here is refused.
bool isLocalHost(const std::string &host);

/// Whether an Origin header names the same place as the Host header.
bool isSameOrigin(const std::string &origin, const std::string &host);

/// In a time that does not tell how much of it is right.
bool isToken(const std::string &given, const std::string &token);

/// From the kernel's random numbers.
std::string makeToken();

} // namespace view
