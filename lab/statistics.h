// Small statistics of a table: shares with their uncertainty, quantiles.
#pragma once

#include <vector>

namespace lab {

/// A share of runs, with the interval that holds the true one in 95 of 100 experiments.
struct Share {
    long part = 0;
    long whole = 0;

    double percent() const;
    double low() const;  ///< Percent, by Wilson's score interval.
    double high() const; ///< Percent.
};

/// The smallest value that at least this share of @p sorted does not exceed; 0 of nothing.
double quantileOf(const std::vector<double> &sorted, double share);

} // namespace lab
