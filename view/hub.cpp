#include "hub.h"

#include <chrono>
#include <utility>

namespace view {

static constexpr int64_t kKeptMs = 62000;
static constexpr size_t kMostKept = 4000;
static constexpr std::chrono::seconds kPatience{2};

void Hub::publish(int64_t ms, std::string json) {
    const std::lock_guard<std::mutex> guard(mutex);
    messages.push_back({ms, std::move(json)});
    while (messages.front().ms < ms - kKeptMs || messages.size() > kMostKept) {
        messages.pop_front();
        ++first;
    }
    news.notify_all();
}

void Hub::hold(const std::string &kind, std::string json) {
    const std::lock_guard<std::mutex> guard(mutex);
    messages.push_back({messages.empty() ? 0 : messages.back().ms, json});
    held[kind] = std::move(json);
    news.notify_all();
}

void Hub::showPicture(std::string file) {
    const std::lock_guard<std::mutex> guard(mutex);
    jpeg = std::make_shared<const std::string>(std::move(file));
    ++pictures;
    news.notify_all();
}

void Hub::rewind(int64_t ms) {
    const std::lock_guard<std::mutex> guard(mutex);
    while (!messages.empty() && messages.back().ms >= ms)
        messages.pop_back();
    first = 0;
    ++epoch;
    news.notify_all();
}

SharedText Hub::picture() const {
    const std::lock_guard<std::mutex> guard(mutex);
    return jpeg;
}

void Hub::close() {
    const std::lock_guard<std::mutex> guard(mutex);
    closed = true;
    news.notify_all();
}

bool Hub::isClosed() const {
    const std::lock_guard<std::mutex> guard(mutex);
    return closed;
}

bool Hub::hasNews(const Reader &reader) const {
    return closed || reader.epoch != epoch || reader.next < first + messages.size() ||
           reader.picture != pictures;
}

/// Everything that is known, as one event.
std::string Hub::snapshot(Reader &reader) const {
    std::string text = "data: {\"k\":\"reset\",\"told\":[";
    const char *separator = "";
    for (const auto &kind : held) {
        text += separator + kind.second;
        separator = ",";
    }
    for (const Message &message : messages) {
        text += separator + message.json;
        separator = ",";
    }
    reader.epoch = epoch;
    reader.next = first + messages.size();
    return text + "]}\n\n";
}

std::string Hub::read(Reader &reader) {
    std::unique_lock<std::mutex> lock(mutex);
    news.wait_for(lock, kPatience, [this, &reader] { return hasNews(reader); });
    if (closed)
        return "";
    std::string text;
    if (reader.epoch != epoch || reader.next < first) {
        text = snapshot(reader);
        reader.picture = 0;
    }
    for (; reader.next < first + messages.size(); ++reader.next)
        text += "data: " + messages[reader.next - first].json + "\n\n";
    if (reader.picture != pictures)
        text += "data: {\"k\":\"picture\",\"n\":" + std::to_string(pictures) + "}\n\n";
    reader.picture = pictures;
    return text;
}

} // namespace view
