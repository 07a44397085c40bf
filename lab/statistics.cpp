#include "statistics.h"

#include <algorithm>
#include <cmath>

namespace lab {

static constexpr double kNormal95 = 1.959964; // deviations

/// E. B. Wilson, "Probable inference, the law of succession, and statistical inference", 1927:
/// the interval's middle, and with @p side -1 or 1 an end of it.
static double wilson(const Share &share, double side) {
    if (share.whole == 0)
        return side < 0 ? 0 : 100;
    const auto n = static_cast<double>(share.whole);
    const double p = static_cast<double>(share.part) / n;
    const double z2 = kNormal95 * kNormal95;
    const double spread = kNormal95 * std::sqrt(p * (1 - p) / n + z2 / (4 * n * n));
    return std::clamp(100 * (p + z2 / (2 * n) + side * spread) / (1 + z2 / n), 0.0, 100.0);
}

double Share::percent() const {
    return whole == 0 ? 0 : 100 * static_cast<double>(part) / static_cast<double>(whole);
}

double Share::low() const {
    return wilson(*this, -1);
}

double Share::high() const {
    return wilson(*this, 1);
}

double quantileOf(const std::vector<double> &sorted, double share) {
    if (sorted.empty())
        return 0;
    const double rank = std::ceil(share * static_cast<double>(sorted.size()));
    const auto index = static_cast<size_t>(std::max(rank, 1.0)) - 1;
    return sorted[std::min(index, sorted.size() - 1)];
}

} // namespace lab
