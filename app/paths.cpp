#include "paths.h"

#include <QCryptographicHash>
#include <QDir>

QString oxmerelHome()
{
    return QDir::homePath() + QStringLiteral("/AppData/Local/Oxmerel");
}

QString settingsFilePath()
{
    return oxmerelHome() + QStringLiteral("/tray.ini");
}

QString credentialsYamlPath()
{
    return oxmerelHome() + QStringLiteral("/credentials.yaml");
}

QString credentialsJsonPath()
{
    return oxmerelHome() + QStringLiteral("/credentials.json");
}

QString logsRoot()
{
    return oxmerelHome() + QStringLiteral("/logs");
}

QString robotLocksDir()
{
    return oxmerelHome() + QStringLiteral("/tray/robots");
}

QString statusSocketName()
{
    const QByteArray home = QDir::homePath().toUtf8();
    return QStringLiteral("oxmerel-connect-")
        + QString::fromLatin1(QCryptographicHash::hash(home, QCryptographicHash::Sha1).toHex().left(16));
}
