#include "waveform/trace_reader.h"

#include "clock/trace.h"

#include <fstream>

namespace vcam {

std::vector<TraceLine> events() {
    flushTrace();
    std::vector<TraceLine> all;
    std::ifstream file(tracePath());
    TraceLine event;
    for (std::string line; std::getline(file, line);) {
        if (parseTraceLine(line, event))
            all.push_back(event);
    }
    return all;
}

std::vector<TraceLine> events(const std::string &device, const std::string &kind, int64_t fromUs) {
    std::vector<TraceLine> picked;
    for (TraceLine &event : events())
        if (event.timeUs >= fromUs && event.device == device &&
            (kind.empty() || event.event == kind))
            picked.push_back(event);
    return picked;
}

std::vector<std::string> consoleLines(int64_t fromUs) {
    std::vector<std::string> lines;
    for (const TraceLine &event : events("console", "line", fromUs))
        lines.push_back(event.get("text"));
    return lines;
}

static std::string describeMotorEvent(const TraceLine &event) {
    if (event.is("chip", "write"))
        return event.get("register").substr(2) + "=" + event.get("value").substr(2);
    if (event.is("gpio", "vd"))
        return "VD " + event.get("period_us");
    return "";
}

std::string motorText(int64_t fromUs) {
    std::string text;
    int64_t accountedUs = fromUs;
    for (const TraceLine &event : events()) {
        const std::string entry = describeMotorEvent(event);
        if (event.timeUs < fromUs || entry.empty())
            continue;
        if (event.timeUs != accountedUs)
            text += "wait " + std::to_string(event.timeUs - accountedUs) + "\n";
        accountedUs = event.timeUs;
        if (event.event == "vd")
            accountedUs += event.getNumber("period_us");
        text += entry + (event.event == "vd" ? "\n" : " ");
    }
    return text;
}

std::vector<int> motorRuns(const std::string &channel, int64_t fromUs) {
    std::vector<int> runs;
    for (const TraceLine &event : events("chip", "run", fromUs))
        if (event.get("channel") == channel)
            runs.push_back(static_cast<int>(event.getNumber("steps")));
    return runs;
}

std::string runText(const std::string &channel, int64_t fromUs) {
    const std::vector<int> runs = motorRuns(channel, fromUs);
    std::string text;
    for (size_t i = 0, times; i < runs.size(); i += times) {
        for (times = 1; i + times < runs.size() && runs[i + times] == runs[i];)
            ++times;
        text += (times > 1 ? std::to_string(times) + "x" : "") + std::to_string(runs[i]) + " ";
    }
    return text;
}

std::vector<int64_t> whenSaid(const std::string &text, int64_t fromUs) {
    std::vector<int64_t> instants;
    for (const TraceLine &event : events("console", "line", fromUs)) {
        const std::string line = event.get("text");
        if (line.size() >= text.size() &&
            line.compare(line.size() - text.size(), text.size(), text) == 0)
            instants.push_back(event.timeUs);
    }
    return instants;
}

int countSaid(const std::string &text, int64_t fromUs) {
    return static_cast<int>(whenSaid(text, fromUs).size());
}

} // namespace vcam
