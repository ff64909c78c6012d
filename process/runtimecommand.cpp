#include "runtimecommand.h"

#include "runtimeprogram.h"

QString runnerProgram()
{
    return runtimeProgram(QStringLiteral("oxmerel-runner"));
}

QString agentProgram()
{
    return runtimeProgram(QStringLiteral("oxmerel-agent"));
}

QStringList runnerArguments(
    const QString& identity, const QString& workspace, bool locked, bool noDesignerAttach, bool sendCrashDump)
{
    QStringList arguments = agentArguments(identity, workspace);
    arguments.append(QStringLiteral("--remember"));
    if (locked)
        arguments.append(QStringLiteral("--lock"));
    if (noDesignerAttach)
        arguments.append(QStringLiteral("-n"));
    if (sendCrashDump)
        arguments.append(QStringLiteral("-s"));
    return arguments;
}

QStringList agentArguments(const QString& identity, const QString& workspace)
{
    return { QStringLiteral("connect"), QStringLiteral("-i"), identity, QStringLiteral("-w"), workspace,
        QStringLiteral("--stdin") };
}
