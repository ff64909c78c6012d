#pragma once

#include "credentialsredactor.h"
#include "lineredactor.h"
#include "manifest.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

class QFileInfo;
class QTextStream;
class ZipWriter;

struct BundleOptions {
    QString output; // empty: defaultPath()
    int days = 3;
    bool dryRun = false;
    bool hideIdentities = false;
};

// Makes a support bundle: settings, the credentials files masked, lock markers, the last days of logs with secrets
// masked, the auto-start entry, facts about the system and MANIFEST.txt. Files are read line by line and streamed
// into the zip. A part that cannot be read is listed in the manifest with the reason and the bundle is still made.
class BundleMaker
{
public:
    explicit BundleMaker(const BundleOptions& options);
    ~BundleMaker();

    // Writes the bundle (with dryRun, prints its manifest and writes nothing) and answers the exit code: 0 when done,
    // 1 when the bundle could not be written.
    int run(QTextStream& out, QTextStream& err);

    // On the desktop when there is one, else in the home folder, named with the date and time.
    static QString defaultPath();

private:
    void addAll(const QByteArray& systemFacts);
    void addText(const QString& name, const QByteArray& text, const QString& redactions = {});
    void addRedactedFile(const QString& name, const QFileInfo& file);
    void addCredentials(const QString& name, const QString& path, bool json);
    void addLocks();
    void addLogFolder(const QString& name, const QString& path, int* older);
    // Why a file cannot go into the bundle; empty when it can.
    static QString unreadableReason(const QFileInfo& file);

    bool beginEntry(const QString& name, const QDateTime& modified);
    void writeEntry(const QByteArray& data);
    void endEntry();

    BundleOptions options;
    QDateTime cutoff;
    LineRedactor lines;
    CredentialsRedactor credentials;
    Manifest manifest;
    ZipWriter* zip = nullptr;
};
