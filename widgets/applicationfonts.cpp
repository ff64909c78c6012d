#include "applicationfonts.h"

#include <QFontDatabase>
#include <QHash>

QFont ApplicationFonts::font(const QString& resource)
{
    // Only the GUI thread builds widgets, so the cache needs no lock.
    static QHash<QString, QString> families;
    auto known = families.constFind(resource);
    if (known == families.constEnd()) {
        const int id = QFontDatabase::addApplicationFont(resource);
        known = families.insert(resource, QFontDatabase::applicationFontFamilies(id).value(0));
    }
    return QFont(*known);
}
