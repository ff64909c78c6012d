#include "guiplatform.h"

// Windows and macOS always have their desktop's platform.
void chooseGuiPlatform() { }
