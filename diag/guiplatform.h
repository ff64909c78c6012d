#pragma once

// Before the GUI application object exists: on a desktop that may have no display (a remote shell), fall back to a
// display-less platform instead of ending the program. One implementation per OS.
void chooseGuiPlatform();
