#include "bundlemaker.h"

#include "appglobals.h"
#include "autostart.h"
#include "paths.h"
#include "systemfacts.h"
#include "zipwriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTextStream>

#include <memory>

namespace {

// A longer line is cut into pieces of this size, which keeps memory bounded on a log without newlines.
constexpr qint64 maxLineBytes = 1024 * 1024;
constexpr qint64 flushBytes = 256 * 1024;
// The credentials files are a few kilobytes; one far larger is not read whole.
constexpr qint64 maxCredentialsBytes = 4 * 1024 * 1024;

} // namespace

BundleMaker::BundleMaker(const BundleOptions& bundleOptions)
    : options(bundleOptions)
    , cutoff(QDateTime::currentDateTime().addDays(-bundleOptions.days))
    , lines(bundleOptions.hideIdentities)
    , credentials(lines, bundleOptions.hideIdentities)
{ }

BundleMaker::~BundleMaker() = default;

QString BundleMaker::defaultPath()
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    const QString folder = QFileInfo(desktop).isDir() ? desktop : QDir::homePath();
    return folder + QStringLiteral("/oxmerel-connect-diag-")
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")) + QStringLiteral(".zip");
}

int BundleMaker::run(QTextStream& out, QTextStream& err)
{
    const QString heading
        = QStringLiteral(
            "Oxmerel Connect support bundle, made %1 by oxmerel-connect-diag %2 with the logs of the last %3 days.\n"
            "Every password, vault secret and token is replaced by %4%5.")
              .arg(QDateTime::currentDateTime().toString(Qt::ISODate), appVersion)
              .arg(options.days)
              .arg(QString::fromLatin1(LineRedactor::marker),
                  options.hideIdentities ? QStringLiteral(", hosts and identities by aliases") : QString());
    if (options.dryRun) {
        addAll(systemFacts());
        out << manifest.text(heading);
        return 0;
    }

    const QString path = options.output.isEmpty() ? defaultPath() : options.output;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        err << QStringLiteral("oxmerel-connect-diag: cannot write %1: %2\n").arg(path, file.errorString());
        return 1;
    }
    // Hosts and identities may remain; the bundle is for its owner to send.
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    auto writer = std::make_unique<ZipWriter>(&file);
    zip = writer.get();
    addAll(systemFacts());
    zip = nullptr;
    const QByteArray manifestText = manifest.text(heading);
    const bool written = writer->beginEntry(QStringLiteral("MANIFEST.txt"), QDateTime::currentDateTime())
        && writer->write(manifestText) && writer->endEntry() && writer->close() && file.commit();
    if (!written) {
        const QString reason = writer->errorString().isEmpty() ? file.errorString() : writer->errorString();
        err << QStringLiteral("oxmerel-connect-diag: cannot write %1: %2\n").arg(path, reason);
        return 1;
    }
    out << QDir::toNativeSeparators(path) << '\n';
    return 0;
}

void BundleMaker::addAll(const QByteArray& systemFacts)
{
    addText(QStringLiteral("system.txt"), systemFacts);
    // The credentials come first: their secrets and identities are then masked in everything after them.
    addCredentials(QStringLiteral("credentials.yaml"), credentialsYamlPath(), false);
    addCredentials(QStringLiteral("credentials.json"), credentialsJsonPath(), true);
    addRedactedFile(QStringLiteral("tray.ini"), QFileInfo(settingsFilePath()));

    const std::unique_ptr<QSettings> runSettings(autostart::openRunSettings());
    const QByteArray entry = autostart::entryText(runSettings.get());
    if (entry.isEmpty()) {
        manifest.leaveOut(QStringLiteral("autostart.txt"), QStringLiteral("no auto-start entry"));
    } else {
        // Redacted first: the order in which arguments are evaluated is unspecified.
        QStringList found;
        const QByteArray redacted = lines.redact(entry, &found);
        addText(QStringLiteral("autostart.txt"), redacted, found.join(QStringLiteral(", ")));
    }

    addLocks();

    int older = 0;
    const QFileInfo logs(logsRoot());
    if (!logs.isDir()) {
        manifest.leaveOut(
            QStringLiteral("logs/"), logs.exists() ? QStringLiteral("not a folder") : QStringLiteral("missing"));
    } else {
        addLogFolder(QStringLiteral("logs"), logs.absoluteFilePath(), &older);
    }
    if (older > 0) {
        manifest.leaveOut(
            QStringLiteral("logs/"), QStringLiteral("%1 files older than %2 days").arg(older).arg(options.days));
    }
}

QString BundleMaker::unreadableReason(const QFileInfo& file)
{
    if (file.isSymLink() && !file.exists()) {
        return QStringLiteral("a link to %1, which does not exist").arg(file.symLinkTarget());
    }
    if (!file.exists()) {
        return QStringLiteral("missing");
    }
    if (file.isDir()) {
        return QStringLiteral("a folder where a file should be");
    }
    if (!file.isFile()) {
        return QStringLiteral("not a regular file (a pipe, socket or device)");
    }
    if (!file.isReadable()) {
        return QStringLiteral("not readable");
    }
    return {};
}

bool BundleMaker::beginEntry(const QString& name, const QDateTime& modified)
{
    return !zip || zip->beginEntry(name, modified);
}

void BundleMaker::writeEntry(const QByteArray& data)
{
    if (zip) {
        zip->write(data);
    }
}

void BundleMaker::endEntry()
{
    if (zip) {
        zip->endEntry();
    }
}

void BundleMaker::addText(const QString& name, const QByteArray& text, const QString& redactions)
{
    if (beginEntry(name, QDateTime::currentDateTime())) {
        writeEntry(text);
        endEntry();
        manifest.addFile(name, text.size(), redactions);
    }
}

void BundleMaker::addRedactedFile(const QString& name, const QFileInfo& info)
{
    const QString reason = unreadableReason(info);
    QFile file(info.absoluteFilePath());
    if (!reason.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        manifest.leaveOut(name, reason.isEmpty() ? file.errorString() : reason);
        return;
    }
    if (!beginEntry(name, info.lastModified())) {
        return;
    }
    QMap<QString, QList<qint64>> found;
    QByteArray buffer;
    qint64 size = 0;
    qint64 lineNumber = 0;
    QStringList rules;
    // One buffer for every line: a fresh one of the maximal size per line would cost far more than the line itself.
    QByteArray line(maxLineBytes + 1, Qt::Uninitialized);
    for (qint64 length; (length = file.readLine(line.data(), line.size())) > 0;) {
        ++lineNumber;
        rules.clear();
        buffer += lines.redact(QByteArray::fromRawData(line.constData(), length), &rules);
        for (const QString& rule : std::as_const(rules)) {
            found[rule].append(lineNumber);
        }
        if (buffer.size() >= flushBytes) {
            writeEntry(buffer);
            size += buffer.size();
            buffer.clear();
        }
    }
    writeEntry(buffer);
    size += buffer.size();
    endEntry();
    QString redactions = Manifest::summarize(found);
    if (file.error() != QFileDevice::NoError) {
        redactions += QStringLiteral(" (cut short: %1)").arg(file.errorString());
    }
    manifest.addFile(name, size, redactions);
}

void BundleMaker::addCredentials(const QString& name, const QString& path, bool json)
{
    const QFileInfo info(path);
    const QString reason = unreadableReason(info);
    QFile file(path);
    if (!reason.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        manifest.leaveOut(name, reason.isEmpty() ? file.errorString() : reason);
        return;
    }
    if (file.size() > maxCredentialsBytes) {
        manifest.leaveOut(name, QStringLiteral("larger than %1 bytes").arg(maxCredentialsBytes));
        return;
    }
    QStringList masked;
    QString error;
    const QByteArray text = file.readAll();
    const QByteArray redacted
        = json ? credentials.redactJson(text, &masked, &error) : credentials.redactYaml(text, &masked, &error);
    if (!error.isEmpty()) {
        manifest.leaveOut(name, error + QStringLiteral(", so its secrets cannot be told apart"));
        return;
    }
    addText(name, redacted, masked.join(QStringLiteral(", ")));
}

void BundleMaker::addLocks()
{
    const QDir locks(robotLocksDir());
    if (!locks.exists()) {
        manifest.leaveOut(QStringLiteral("tray/robots/"), QStringLiteral("no lock markers"));
        return;
    }
    const QFileInfoList markers
        = locks.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo& marker : markers) {
        const QString name = QStringLiteral("tray/robots/") + marker.fileName();
        const QString reason = unreadableReason(marker);
        if (!reason.isEmpty()) {
            manifest.leaveOut(name, reason);
        } else if (beginEntry(name, marker.lastModified())) {
            // Only a marker's existence counts; its content is not the program's.
            endEntry();
            manifest.addFile(name, 0, {});
        }
    }
}

void BundleMaker::addLogFolder(const QString& name, const QString& path, int* older)
{
    const QFileInfo folder(path);
    if (!folder.isReadable() || !folder.isExecutable()) {
        manifest.leaveOut(name + QLatin1Char('/'), QStringLiteral("folder cannot be read"));
        return;
    }
    const QFileInfoList entries
        = QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo& entry : entries) {
        const QString entryName = name + QLatin1Char('/') + entry.fileName();
        if (entry.isDir() && entry.isSymLink()) {
            manifest.leaveOut(entryName, QStringLiteral("a link to a folder, not followed"));
        } else if (entry.isDir()) {
            addLogFolder(entryName, entry.absoluteFilePath(), older);
        } else if (entry.isFile() && entry.lastModified() < cutoff) {
            ++*older;
        } else {
            addRedactedFile(entryName, entry);
        }
    }
}
