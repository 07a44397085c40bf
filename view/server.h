// The page, what it is told and what it orders, over HTTP on the loopback.
#pragma once

#include <memory>
#include <string>

#include "hub.h"
#include "studio.h"

namespace view {

class Server {
public:
    Server(Hub &hub, Studio &studio, std::string token);
    ~Server();

    /// The port that it has got, 0 asking for any; -1: it is taken.
    int bind(int port);

    /// Serves until stop, on the caller's thread.
    void run();
    void stop();

private:
    struct Rooms;
    std::unique_ptr<Rooms> rooms;
};

/// A file of the page, built into the program; empty: there is none.
std::string pageFile(const std::string &name);

} // namespace view
