// The slack of the focus's gear, as it is set. Positions that the library drives to are approached
// in the direction far, so that the lens stands at the same place whenever the counter does.
#pragma once

/// Steps; 0: none.
int focusBacklash();

/// The lens stands where it was driven from either side: take the slack up in the direction far.
void takeUpFocusSlack();
