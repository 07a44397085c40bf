#include "server.h"

#include <atomic>
#include <chrono>
#include <httplib.h>
#include <sys/socket.h>
#include <thread>
#include <utility>

#include "guards.h"
#include "json_text.h"

namespace view {

static constexpr size_t kLongestBody = 8192;
static constexpr int kMostStreams = 12;
static constexpr size_t kThreads = kMostStreams + 8;
static constexpr time_t kKeptAliveS = 1;
static constexpr time_t kSlowestReadS = 2;
static constexpr int kMostLooks = 2000;
static constexpr std::chrono::milliseconds kLookAgain{1};
static constexpr int kOk = 200;
static constexpr int kBad = 400;
static constexpr int kForbidden = 403;
static constexpr int kMissing = 404;
static constexpr int kBusy = 503;

using httplib::Request;
using httplib::Response;

struct Server::Rooms {
    Hub &hub;
    Studio &studio;
    std::string token;
    httplib::Server http;
    std::atomic<int> streams{0};
};

static void refuse(Response &response, int status, const std::string &why) {
    response.status = status;
    response.set_content(why + "\n", "text/plain");
}

/// Everything that is served is this machine's, and nothing else is loaded or told.
static void addHeaders(Response &response) {
    response.set_header("Content-Security-Policy",
                        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' "
                        "blob: data:; connect-src 'self'; base-uri 'none'; form-action 'none'; "
                        "frame-ancestors 'none'");
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("Cross-Origin-Resource-Policy", "same-origin");
    response.set_header("Cache-Control", "no-store");
}

static bool isWelcome(const Request &request, Response &response) {
    const std::string host = request.get_header_value("Host");
    const bool isForeign =
        request.has_header("Origin") && !isSameOrigin(request.get_header_value("Origin"), host);
    const bool isGood = isLocalHost(host) && !isForeign;
    if (!isGood)
        refuse(response, kForbidden, "this page is for this machine");
    return isGood;
}

static std::string typeOf(const std::string &name) {
    const std::string extension = name.substr(std::min(name.rfind('.'), name.size()));
    if (extension == ".html")
        return "text/html; charset=utf-8";
    return extension == ".css" ? "text/css; charset=utf-8" : "text/javascript; charset=utf-8";
}

static void serveFile(const std::string &name, const std::string &token, Response &response) {
    static const std::string kPlace = "@TOKEN@";
    std::string text = pageFile(name);
    if (text.empty()) {
        refuse(response, kMissing, "there is no such file");
        return;
    }
    const size_t at = text.find(kPlace);
    if (at != std::string::npos)
        text.replace(at, kPlace.size(), token);
    response.set_content(text, typeOf(name));
}

static void servePicture(const Hub &hub, Response &response) {
    const SharedText jpeg = hub.picture();
    if (jpeg == nullptr)
        refuse(response, kMissing, "there is no picture yet");
    else
        response.set_content(*jpeg, "image/jpeg");
}

/// A comment when nothing has come for a while: writing tells whether anybody still listens.
static bool writeNews(Hub &hub, Reader &reader, httplib::DataSink &sink) {
    const std::string text = hub.read(reader);
    if (hub.isClosed()) {
        sink.done();
        return false;
    }
    const std::string sent = text.empty() ? ":\n\n" : text;
    return sink.write(sent.data(), sent.size());
}

template <typename Rooms> static void serveEvents(Rooms &rooms, Response &response) {
    if (++rooms.streams > kMostStreams) {
        --rooms.streams;
        refuse(response, kBusy, "too many pages are open");
        return;
    }
    auto reader = std::make_shared<Reader>();
    response.set_chunked_content_provider(
        "text/event-stream",
        [&rooms, reader](size_t, httplib::DataSink &sink) {
            return writeNews(rooms.hub, *reader, sink);
        },
        [&rooms](bool) { --rooms.streams; });
}

template <typename Rooms>
static void takeOrder(Rooms &rooms, const Request &request, Response &response) {
    if (!request.has_header("Origin") || !isToken(request.get_header_value("X-Token"), rooms.token))
        return refuse(response, kForbidden, "only the page gives orders");
    const std::string why = rooms.studio.obey(request.body);
    if (!why.empty())
        return refuse(response, kBad, why);
    response.status = kOk;
    response.set_content("", "text/plain");
}

template <typename Rooms> static void lay(Rooms &rooms) {
    httplib::Server &http = rooms.http;
    http.set_pre_routing_handler([](const Request &request, Response &response) {
        addHeaders(response);
        return isWelcome(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                            : httplib::Server::HandlerResponse::Handled;
    });
    http.Get("/", [&rooms](const Request &, Response &response) {
        serveFile("index.html", rooms.token, response);
    });
    http.Get(R"(/([a-z_]+\.(?:css|js)))", [&rooms](const Request &request, Response &response) {
        serveFile(request.matches[1], rooms.token, response);
    });
    http.Get("/picture",
             [&rooms](const Request &, Response &response) { servePicture(rooms.hub, response); });
    http.Get("/log", [&rooms](const Request &, Response &response) {
        response.set_header("Content-Disposition", "attachment; filename=session.log");
        response.set_content(rooms.studio.spell(), "text/plain");
    });
    http.Get("/events",
             [&rooms](const Request &, Response &response) { serveEvents(rooms, response); });
    http.Post("/order", [&rooms](const Request &request, Response &response) {
        takeOrder(rooms, request, response);
    });
}

/// The library's own choice lets two servers share a port, and neither is told.
static void takePortAlone(int socket) {
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

Server::Server(Hub &hub, Studio &studio, std::string token)
    : rooms(new Rooms{hub, studio, std::move(token), {}, {}}) {
    httplib::Server &http = rooms->http;
    http.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    http.set_socket_options(takePortAlone);
    http.set_tcp_nodelay(true);
    http.set_keep_alive_timeout(kKeptAliveS);
    http.set_read_timeout(kSlowestReadS);
    http.set_payload_max_length(kLongestBody);
    lay(*rooms);
}

Server::~Server() = default;

int Server::bind(int port) {
    if (port == 0)
        return rooms->http.bind_to_any_port("127.0.0.1");
    return rooms->http.bind_to_port("127.0.0.1", port) ? port : -1;
}

void Server::run() {
    rooms->http.listen_after_bind();
}

/// A server that has not begun yet would not hear it, and begin afterwards.
void Server::stop() {
    rooms->hub.close();
    for (int i = 0; i < kMostLooks && !rooms->http.is_running(); ++i)
        std::this_thread::sleep_for(kLookAgain);
    rooms->http.stop();
}

} // namespace view
