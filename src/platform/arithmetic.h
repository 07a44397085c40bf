// The smaller and the larger of two values, and the nearest to a value within bounds.
#pragma once

template <typename Value> inline Value minOf(Value a, Value b) {
    return b < a ? b : a;
}

template <typename Value> inline Value maxOf(Value a, Value b) {
    return a < b ? b : a;
}

/// @p value moved between @p low and @p high; @p high where low lies above it.
template <typename Value> inline Value clampBetween(Value low, Value value, Value high) {
    return minOf(maxOf(value, low), high);
}
