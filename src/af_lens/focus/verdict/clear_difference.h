// Whether a focus value differs from another by more than a share of that one.
#pragma once

/// A share that the noise does not reach: so many of its deviations, and @p least at least.
float clearShare(float least, float deviations, float noise);

bool isClearlyLower(unsigned int value, unsigned int reference, float share);
bool isClearlyHigher(unsigned int value, unsigned int reference, float share);

/// Either.
bool isClearlyOther(unsigned int value, unsigned int reference, float share);
