// The line on which the object in front of the lens is sharp, from where it was in focus before.
//
// An object's share of the way from the infinity line to the 2 m line is its vergence, and the same
// at every zoom position. It is remembered from the most tele focus of this object: toward wide the
// lines run together and say less. The way between the lines is the built-in one; where the
// infinity line runs must have been measured, else this is worse than no help.
#pragma once

/// An autofocus run was called focused: the object is where the lens stands. Lens-control thread.
void noteObjectInFocus();

/// Make the object's line the one that tracking follows. @return false, and nothing changed, while
/// no object is known or the infinity line is the built-in one. Lens-control thread.
bool chooseObjectLine();

/// Whether tracking is to follow the object.
bool isObjectFollowed();
