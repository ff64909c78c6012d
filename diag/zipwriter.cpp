#include "zipwriter.h"

#include <QIODevice>

#include <archive.h>
#include <archive_entry.h>

namespace {

la_ssize_t writeToDevice(archive*, void* device, const void* buffer, size_t length)
{
    const qint64 written
        = static_cast<QIODevice*>(device)->write(static_cast<const char*>(buffer), static_cast<qint64>(length));
    return written < 0 ? -1 : static_cast<la_ssize_t>(written);
}

} // namespace

ZipWriter::ZipWriter(QIODevice* output)
    : zip(archive_write_new())
    , device(output)
{
    check(archive_write_set_format_zip(zip));
    // Logs shrink well even at the fastest level, which keeps a large bundle quick.
    check(archive_write_set_options(zip, "zip:compression-level=1"));
    check(archive_write_open2(zip, device, nullptr, &writeToDevice, nullptr, nullptr));
}

ZipWriter::~ZipWriter()
{
    archive_write_free(zip);
}

bool ZipWriter::check(int status)
{
    if (status < ARCHIVE_WARN && error.isEmpty()) {
        const char* message = archive_error_string(zip);
        error = message ? QString::fromLocal8Bit(message) : device->errorString();
    }
    return status >= ARCHIVE_WARN;
}

bool ZipWriter::beginEntry(const QString& name, const QDateTime& modified)
{
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname_utf8(entry, name.toUtf8().constData());
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0600);
    archive_entry_set_mtime(
        entry, (modified.isValid() ? modified : QDateTime::currentDateTime()).toSecsSinceEpoch(), 0);
    // No size: the entry's length is written after its data.
    const bool ok = check(archive_write_header(zip, entry));
    archive_entry_free(entry);
    return ok;
}

bool ZipWriter::write(QByteArrayView data)
{
    return data.isEmpty()
        || archive_write_data(zip, data.data(), static_cast<size_t>(data.size()))
        == static_cast<la_ssize_t>(data.size())
        || check(ARCHIVE_FATAL);
}

bool ZipWriter::endEntry()
{
    return check(archive_write_finish_entry(zip));
}

bool ZipWriter::close()
{
    return check(archive_write_close(zip)) && error.isEmpty();
}

QString ZipWriter::errorString() const
{
    return error;
}
