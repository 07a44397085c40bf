// The zoom ratio that the host shows on the screen.
//
// The text is made from one word when it is asked for, so that a reader never sees it half written.
#pragma once

extern "C" {

/// Write the text with its NUL into @p text, which has room for AF_OSD_TEXT_SIZE bytes.
void formatOsdText(char *text);
}
