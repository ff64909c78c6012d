#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

// MANIFEST.txt of a support bundle: every file in it with its size and the redactions made, and every part left out
// with the reason.
class Manifest
{
public:
    void addFile(const QString& name, qint64 size, const QString& redactions);
    void leaveOut(const QString& name, const QString& reason);
    QByteArray text(const QString& heading) const;

    // "bearer token ×2 (lines 3, 9)" for each rule; at most a few line numbers each.
    static QString summarize(const QMap<QString, QList<qint64>>& linesByRule);

private:
    QStringList files;
    QStringList leftOut;
};
