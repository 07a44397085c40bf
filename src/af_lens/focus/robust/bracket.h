// Where the peak may be: looks in growing jumps until it lies between two of them, then between
// nearer ones.
#pragma once

#include "af_lens/focus/robust/look.h"

/// What has been found.
enum BracketOutcome {
    kBracketed,
    kNothingSeen,   ///< No look differs clearly from another.
    kBracketBroken, ///< A command interrupted.
};

struct Bracket {
    int estimate; ///< Of the peak.
    int width;    ///< Between the looks around it.
};

static const int kMostLooks = 24;

/// Room for what is seen meanwhile, which a thread's stack has not.
struct Looks {
    int count;
    int best;            ///< The first of the highest by the wide value.
    unsigned int lowest; ///< Wide value.
    Look at[kMostLooks]; ///< By position.
};

/// From where the lens stands; it is left at the last look. @p bracket is written where there is
/// one.
BracketOutcome findBracket(Looks *looks, Bracket *bracket);
