// Where the peak may be: looks in growing jumps until it lies between two of them, then between
// nearer ones.
#pragma once

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

BracketOutcome findBracket(Bracket *bracket);
