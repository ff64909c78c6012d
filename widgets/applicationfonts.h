#pragma once

#include <QFont>
#include <QString>

// The resource bundle's fonts, each registered with the font database once per process. Every registration copies
// the font file, parses it and clears Qt's font caches, so registering again for each row or window costs start-up
// time and memory for nothing.
class ApplicationFonts
{
public:
    // A font of the first family of the font file at `resource` (point size, weight and style left at their defaults).
    static QFont font(const QString& resource);
};
