// A value change dump: signals and when they change, as waveform viewers read them.
//
// Changes may be added in any order; of several at one instant the last one added counts. Text
// signals are an extension that viewers know and other programs pass over.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vcam {

class VcdFile {
public:
    using Signal = size_t;

    Signal addBit(const std::string &scope, const std::string &name);
    Signal addBus(const std::string &scope, const std::string &name, int bits);
    Signal addNumber(const std::string &scope, const std::string &name);
    Signal addText(const std::string &scope, const std::string &name);

    void changeBits(Signal signal, int64_t timeUs, uint64_t value);
    void changeNumber(Signal signal, int64_t timeUs, double value);
    void changeText(Signal signal, int64_t timeUs, const std::string &value);

    /// False when the file cannot be written. Signals of one scope must have been added together.
    bool write(const std::string &path);

private:
    struct Declared {
        std::string scope;
        std::string name;
        const char *type;
        int bits;
    };
    struct Change {
        int64_t timeUs;
        Signal signal;
        std::string value; ///< As it stands in the file, without the signal's code.
    };

    Signal add(const std::string &scope, const std::string &name, const char *type, int bits);
    std::string spellHeader() const;
    std::string spellChanges();

    std::vector<Declared> signals;
    std::vector<Change> changes;
};

} // namespace vcam
