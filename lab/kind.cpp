#include "kind.h"

#include "focus_kind.h"

namespace lab {

const std::vector<Kind> &allKinds() {
    static const std::vector<Kind> kinds = {makeFocusKind()};
    return kinds;
}

const Kind *findKind(const std::string &name) {
    for (const Kind &kind : allKinds()) {
        if (name == kind.name)
            return &kind;
    }
    return nullptr;
}

} // namespace lab
