#include "launchoptions.h"

bool isAutoStartLaunch(const QStringList& arguments)
{
    return arguments.size() > 1 && arguments.at(1) == QLatin1String("--auto-start");
}
