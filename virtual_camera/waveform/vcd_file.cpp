#include "waveform/vcd_file.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace vcam {

// Codes are numbers to the base of the printable characters.
static constexpr char kFirstCode = '!';
static constexpr size_t kCodeBase = 94;

static std::string spellCode(size_t signal) {
    std::string code;
    for (size_t rest = signal + 1; rest > 0; rest = (rest - 1) / kCodeBase)
        code += static_cast<char>(kFirstCode + static_cast<char>((rest - 1) % kCodeBase));
    return code;
}

VcdFile::Signal VcdFile::add(const std::string &scope, const std::string &name, const char *type,
                             int bits) {
    signals.push_back({scope, name, type, bits});
    return signals.size() - 1;
}

VcdFile::Signal VcdFile::addBit(const std::string &scope, const std::string &name) {
    return add(scope, name, "wire", 1);
}

VcdFile::Signal VcdFile::addBus(const std::string &scope, const std::string &name, int bits) {
    return add(scope, name, "wire", bits);
}

VcdFile::Signal VcdFile::addNumber(const std::string &scope, const std::string &name) {
    return add(scope, name, "real", 64);
}

VcdFile::Signal VcdFile::addText(const std::string &scope, const std::string &name) {
    return add(scope, name, "string", 1);
}

void VcdFile::changeBits(Signal signal, int64_t timeUs, uint64_t value) {
    const int bits = signals[signal].bits;
    std::string text = bits == 1 ? "" : "b";
    for (int bit = bits - 1; bit >= 0; --bit)
        text += (value >> bit & 1) != 0 ? '1' : '0';
    changes.push_back({timeUs, signal, bits == 1 ? text : text + " "});
}

void VcdFile::changeNumber(Signal signal, int64_t timeUs, double value) {
    char text[40];
    snprintf(text, sizeof(text), "r%.10g ", value);
    changes.push_back({timeUs, signal, text});
}

/// A value must hold no space: viewers read escapes.
void VcdFile::changeText(Signal signal, int64_t timeUs, const std::string &value) {
    std::string text = "s";
    for (const char letter : value)
        text += letter == ' ' ? std::string("\\x20") : std::string(1, letter);
    changes.push_back({timeUs, signal, text + " "});
}

std::string VcdFile::spellHeader() const {
    std::string text = "$timescale 1 us $end\n";
    std::string scope;
    for (size_t signal = 0; signal < signals.size(); ++signal) {
        const Declared &declared = signals[signal];
        if (declared.scope != scope) {
            text += scope.empty() ? "" : "$upscope $end\n";
            text += "$scope module " + declared.scope + " $end\n";
            scope = declared.scope;
        }
        text += std::string("$var ") + declared.type + " " + std::to_string(declared.bits) + " " +
                spellCode(signal) + " " + declared.name;
        if (declared.bits > 1 && declared.type[0] == 'w')
            text += " [" + std::to_string(declared.bits - 1) + ":0]";
        text += " $end\n";
    }
    return text + "$upscope $end\n$enddefinitions $end\n";
}

std::string VcdFile::spellChanges() {
    std::stable_sort(changes.begin(), changes.end(),
                     [](const Change &a, const Change &b) { return a.timeUs < b.timeUs; });
    std::string text;
    int64_t timeUs = -1;
    for (const Change &change : changes) {
        if (change.timeUs != timeUs)
            text += "#" + std::to_string(change.timeUs) + "\n";
        timeUs = change.timeUs;
        text += change.value + spellCode(change.signal) + "\n";
    }
    return text;
}

bool VcdFile::write(const std::string &path) {
    std::ofstream file(path, std::ios::binary);
    file << spellHeader() << spellChanges();
    file.close();
    return !file.fail();
}

} // namespace vcam
