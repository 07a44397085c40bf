// What the camera has told, for everybody who looks: the last minute is kept, so that a page that
// comes later, or comes again, knows what the others know.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace view {

/// How far a page has read.
struct Reader {
    uint64_t epoch = 0;
    uint64_t next = 0;
    uint64_t picture = 0;
};

using SharedText = std::shared_ptr<const std::string>;

class Hub {
public:
    /// A message of an instant of the session.
    void publish(int64_t ms, std::string json);

    /// What holds until it comes anew: one of each kind, @p kind being how it begins.
    void hold(const std::string &kind, std::string json);

    void showPicture(std::string file);

    /// The session goes on from this instant in another way: what was told after it is forgotten,
    /// and every page begins anew.
    void rewind(int64_t ms);

    /// What @p reader has not read yet, as server-sent events; waits for it. Empty: nothing has
    /// come for a while, or the hub is closed.
    std::string read(Reader &reader);

    /// Empty before the first.
    SharedText picture() const;

    void close();
    bool isClosed() const;

private:
    struct Message {
        int64_t ms;
        std::string json;
    };
    bool hasNews(const Reader &reader) const;
    std::string snapshot(Reader &reader) const;

    mutable std::mutex mutex;
    std::condition_variable news;
    std::deque<Message> messages;
    uint64_t first = 0; ///< Number of the oldest message that is kept.
    uint64_t epoch = 1;
    std::map<std::string, std::string> held;
    SharedText jpeg;
    uint64_t pictures = 0;
    bool closed = false;
};

} // namespace view
