#include "applicationfonts.h"

#include <QFontDatabase>
#include <QHash>
#include <QResource>

QFont ApplicationFonts::font(const QString& resource)
{
    // Only the GUI thread builds widgets, so the cache needs no lock.
    static QHash<QString, QString> families;
    auto known = families.constFind(resource);
    if (known == families.constEnd()) {
        // The bundle stores its fonts uncompressed: registering the compiled-in bytes themselves spares the font
        // database a heap copy of the file, and the font engine another one.
        const QResource file(resource);
        const int id = file.compressionAlgorithm() == QResource::NoCompression && file.isValid()
            ? QFontDatabase::addApplicationFontFromData(
                QByteArray::fromRawData(reinterpret_cast<const char*>(file.data()), file.size()))
            : QFontDatabase::addApplicationFont(resource);
        known = families.insert(resource, QFontDatabase::applicationFontFamilies(id).value(0));
    }
    return QFont(*known);
}
