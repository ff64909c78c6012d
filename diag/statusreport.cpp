#include "statusreport.h"

#include "credentialsstore.h"
#include "paths.h"
#include "statusrequest.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QTextStream>

namespace {

constexpr int connectTimeoutMs = 1000;
constexpr int answerTimeoutMs = 5000;
// A status answer is a few kilobytes; this bounds what a stranger on the socket could make us hold.
constexpr qint64 maxAnswerBytes = 4 * 1024 * 1024;

QString scalarText(const YAML::Node& node)
{
    return node.IsScalar() ? QString::fromStdString(node.Scalar()) : QString();
}

QJsonArray robotIds(const YAML::Node& node)
{
    QJsonArray ids;
    if (node.IsSequence()) {
        for (const auto& id : node) {
            ids.append(scalarText(id));
        }
    }
    return ids;
}

QString joined(const QJsonArray& values)
{
    QStringList texts;
    for (const QJsonValue& value : values) {
        texts.append(value.toString());
    }
    return texts.isEmpty() ? QStringLiteral("none") : texts.join(QStringLiteral(", "));
}

QString robotLine(const QJsonObject& robot)
{
    QString state = robot.value(QLatin1String("state")).toString();
    if (robot.value(QLatin1String("locked")).toBool()) {
        state += QStringLiteral(", locked");
    }
    return QStringLiteral("    %1 \"%2\": %3, %4 unread")
        .arg(robot.value(QLatin1String("id")).toString(), robot.value(QLatin1String("name")).toString(), state)
        .arg(robot.value(QLatin1String("unread")).toInt());
}

} // namespace

StatusReport::StatusReport()
{
    readCredentials();
    readLocks();
    askProgram();
}

void StatusReport::readCredentials()
{
    const QFileInfo file(credentialsYamlPath());
    if (file.exists() && !file.isFile()) {
        unreadable.append(QStringLiteral("%1 is not a file").arg(file.filePath()));
        return;
    }
    try {
        const YAML::Node entries = loadCredentials()["credentials"];
        if (!entries.IsMap()) {
            return;
        }
        for (const auto& entry : entries) {
            workspaces.append(QJsonObject {
                { QStringLiteral("host"), scalarText(entry.first) },
                { QStringLiteral("identity"), scalarText(entry.second["identity"]) },
                { QStringLiteral("rememberedRobots"), robotIds(entry.second["robots"]) },
            });
        }
    } catch (const YAML::Exception& e) {
        unreadable.append(QStringLiteral("%1: %2").arg(file.filePath(), QString::fromStdString(e.what())));
    }
}

void StatusReport::readLocks()
{
    const QFileInfoList markers = QDir(robotLocksDir()).entryInfoList({ QStringLiteral("*.lock") }, QDir::Files);
    for (const QFileInfo& marker : markers) {
        lockedRobots.append(marker.completeBaseName());
    }
}

void StatusReport::askProgram()
{
    QLocalSocket socket;
    socket.connectToServer(statusSocketName());
    if (!socket.waitForConnected(connectTimeoutMs)) {
        return;
    }
    running = true;
    socket.write(StatusRequest::line);
    QByteArray answer;
    const QDeadlineTimer deadline(answerTimeoutMs);
    while (!answer.contains('\n') && answer.size() < maxAnswerBytes && !deadline.hasExpired()
        && (socket.bytesAvailable() > 0 || socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))) {
        answer += socket.read(maxAnswerBytes - answer.size());
    }
    const QJsonObject document = QJsonDocument::fromJson(answer.left(answer.indexOf('\n'))).object();
    if (!document.contains(QLatin1String("workspaces"))) {
        programProblem = QStringLiteral("the running program gave no status (%1)")
                             .arg(document.value(QLatin1String("error")).toString(socket.errorString()));
        return;
    }
    live = document.value(QLatin1String("workspaces")).toArray();
}

QJsonObject StatusReport::toJson() const
{
    QJsonObject result {
        { QStringLiteral("running"), running },
        { QStringLiteral("workspaces"), workspaces },
        { QStringLiteral("lockedRobots"), QJsonArray::fromStringList(lockedRobots) },
    };
    if (running) {
        result.insert(QStringLiteral("live"), live);
    }
    return result;
}

void StatusReport::print(QTextStream& out, bool json) const
{
    if (json) {
        out << QJsonDocument(toJson()).toJson(QJsonDocument::Indented);
        return;
    }
    out << (running ? "Oxmerel Connect is running.\n" : "Oxmerel Connect is not running.\n");
    out << "\nSigned-in workspaces:\n";
    if (workspaces.isEmpty()) {
        out << "  none\n";
    }
    for (const QJsonValue& value : workspaces) {
        const QJsonObject ws = value.toObject();
        out << "  " << ws.value(QLatin1String("host")).toString() << " ("
            << ws.value(QLatin1String("identity")).toString()
            << "), remembered robots: " << joined(ws.value(QLatin1String("rememberedRobots")).toArray()) << '\n';
    }
    out << "Locked robots: "
        << (lockedRobots.isEmpty() ? QStringLiteral("none") : lockedRobots.join(QStringLiteral(", "))) << '\n';
    if (!running) {
        return;
    }
    out << "\nLive:\n";
    for (const QJsonValue& value : live) {
        const QJsonObject ws = value.toObject();
        out << "  " << ws.value(QLatin1String("host")).toString() << " \"" << ws.value(QLatin1String("name")).toString()
            << "\": " << (ws.value(QLatin1String("signedIn")).toBool() ? "signed in" : "signed out") << '\n';
        const QJsonArray robots = ws.value(QLatin1String("robots")).toArray();
        for (const QJsonValue& robot : robots) {
            out << robotLine(robot.toObject()) << '\n';
        }
    }
}

int StatusReport::exitCode(QTextStream& err) const
{
    for (const QString& problem : unreadable + QStringList { programProblem }) {
        if (!problem.isEmpty()) {
            err << "oxmerel-connect-diag: " << problem << '\n';
        }
    }
    // A program that runs but answers badly is still running; unreadable files make the whole status unusable.
    if (!unreadable.isEmpty()) {
        return Unreadable;
    }
    return running ? Running : NotRunning;
}
