// What a host may switch on beyond what the library is: a table of small numbers, all 0 at load.
#pragma once

/// Value of an AF_Setting_em. Any thread.
int settingOf(int setting);

/// From now on only what may change while the library runs can be set.
void closeEarlySettings();
