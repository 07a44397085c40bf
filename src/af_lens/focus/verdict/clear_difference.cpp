#include "af_lens/focus/verdict/clear_difference.h"

#include "platform/arithmetic.h"

float clearShare(float least, float deviations, float noise) {
    return maxOf(least, deviations * noise);
}

bool isClearlyHigher(unsigned int value, unsigned int reference, float share) {
    const int more = static_cast<int>(value - reference);
    return static_cast<float>(more) > share * static_cast<float>(reference);
}

bool isClearlyLower(unsigned int value, unsigned int reference, float share) {
    return isClearlyHigher(2 * reference - value, reference, share);
}

bool isClearlyOther(unsigned int value, unsigned int reference, float share) {
    return isClearlyHigher(value, reference, share) || isClearlyLower(value, reference, share);
}
