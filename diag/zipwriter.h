#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QString>

class QIODevice;
struct archive;

// Writes a zip archive to a device, one entry at a time and streamed: an entry's size need not be known before its
// data, so nothing is held whole in memory. Built on libarchive.
class ZipWriter
{
public:
    explicit ZipWriter(QIODevice* device);
    ~ZipWriter();
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    bool beginEntry(const QString& name, const QDateTime& modified);
    bool write(QByteArrayView data);
    bool endEntry();
    // Writes the archive's directory; the device then holds a complete zip.
    bool close();
    QString errorString() const;

private:
    bool check(int status);

    archive* zip;
    QIODevice* device;
    QString error;
};
