#pragma once

#include "bundlemaker.h"

#include <QString>
#include <QStringList>

// The program's arguments: a command and its options. Anything unknown or misplaced is a usage error.
struct CommandLine {
    enum class Command { Help, Version, Bundle, Status };

    static CommandLine parse(const QStringList& arguments);
    static QString helpText();

    Command command = Command::Help;
    BundleOptions bundle;
    bool json = false;
    QString error;
};
