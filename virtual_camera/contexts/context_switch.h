// The change of stacks itself: the registers that a function leaves as they were, and the two words
// that say how floating point is rounded and what is trapped.
#pragma once

namespace vcam {

/// Save where the caller stands into @p from, and go on where @p to was saved.
extern "C" void vcamSwitchStacks(void **from, void *to);

/// What to save for a stack that ends at @p top, so that the first change to it calls @p entry,
/// which does not return.
void *prepareStack(void *top, void (*entry)());

} // namespace vcam
