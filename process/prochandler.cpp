#include "prochandler.h"

#include "runtimemessage.h"
#include "runtimeprompts.h"

#include <QDateTime>
#include <QDebug>
#include <QScopeGuard>

ProcHandler::ProcHandler(QObject* parent, int handlerMode)
    : QObject(parent)
    , mode(handlerMode)
    , process(new QProcess(this))
    , robot(nullptr)
{
    connect(process, SIGNAL(readyReadStandardOutput()), this, SLOT(onStdoutAvailable()));
    connect(process, SIGNAL(readyReadStandardError()), this, SLOT(onReadyReadStandardError()));
    connect(process, SIGNAL(finished(int, QProcess::ExitStatus)), this, SLOT(onFinished(int, QProcess::ExitStatus)));
    connect(process, SIGNAL(started()), this, SLOT(onStarted()));
    connect(process, SIGNAL(stateChanged(QProcess::ProcessState)), this, SLOT(onStateChanged(QProcess::ProcessState)));
    connect(
        process, SIGNAL(errorOccurred(QProcess::ProcessError)), this, SLOT(onErrorOccurred(QProcess::ProcessError)));
}

ProcHandler::~ProcHandler()
{
    if (!process || process->state() == QProcess::NotRunning)
        return;
    // No slot of this half-destroyed handler may run while the child is reaped.
    process->disconnect(this);
    treeKill.kill(process, true);
    // Reaped here, so that the process object is not left to end a child that is already dying (and to warn).
    process->waitForFinished(5000);
}

void ProcHandler::start(const QString& program, const QStringList& arguments)
{
    // A replacement process deliberately gets none of the constructor's connections.
    if (!process)
        process = new QProcess(this);
    treeKill.prepare(process);
    process->start(program, arguments, QIODevice::ReadWrite);
    treeKill.started(process);
}

void ProcHandler::stop()
{
    treeKill.kill(process, false);
}

void ProcHandler::setPassword(const QString& value)
{
    password = value;
}

void ProcHandler::setRobotId(const QString& value)
{
    robotId = value;
}

void ProcHandler::deleteWhenEnded()
{
    if (process->state() == QProcess::NotRunning) {
        deleteLater();
        return;
    }
    connect(process, &QProcess::stateChanged, this, [this](QProcess::ProcessState state) {
        if (state == QProcess::NotRunning)
            deleteLater();
    });
}

void ProcHandler::onStdoutAvailable()
{
    readLines();
    // The buffer of a long line goes back once it has been handled; ordinary lines keep reusing theirs.
    if (lineBuffer.size() > 64 * 1024)
        lineBuffer = QByteArray();
}

bool ProcHandler::readLines()
{
    // Lines left in the buffer when reading stops wait for the child's next output, deliberately.
    for (;;) {
        if (droppingLine && !dropToLineEnd())
            return false;
        if (process->canReadLine()) {
            if (!handleLine(readWholeLine()))
                return false;
            continue;
        }
        // Everything buffered is one unfinished line: past the bound it goes, and so does the rest of it as it comes.
        if (process->bytesAvailable() <= maximumLineBytes)
            return false;
        process->skip(process->bytesAvailable());
        droppingLine = true;
        emit receivedLog(QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs), QStringLiteral("warn"),
            tr("An output line of the robot was longer than %1 MiB; it was dropped.").arg(maximumLineBytes >> 20));
    }
}

bool ProcHandler::dropToLineEnd()
{
    char chunk[16 * 1024];
    for (;;) {
        const qint64 n = process->readLine(chunk, sizeof chunk);
        if (n <= 0)
            return false;
        if (chunk[n - 1] == '\n') {
            droppingLine = false;
            return true;
        }
    }
}

QByteArray ProcHandler::readWholeLine()
{
    // Same as readLine(0), which allocates a whole read chunk per line: this reuses one buffer instead and hands out
    // a view on it that lives until the next line is read.
    qsizetype length = 0;
    for (;;) {
        if (lineBuffer.size() - length < 2)
            lineBuffer.resize(qMax<qsizetype>(4096, lineBuffer.size() * 2));
        const qint64 n = process->readLine(lineBuffer.data() + length, lineBuffer.size() - length);
        if (n <= 0)
            break;
        length += n;
        if (lineBuffer.at(length - 1) == '\n')
            break;
    }
    return QByteArray::fromRawData(lineBuffer.constData(), length);
}

void ProcHandler::onFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    emit onExit(exitCode, exitStatus);
}

void ProcHandler::onStarted() { }

void ProcHandler::onReadyReadStandardError()
{
    qDebug().noquote() << "Error:" << QString::fromLocal8Bit(process->readAllStandardError());
}

void ProcHandler::onErrorOccurred(QProcess::ProcessError) { }

void ProcHandler::onStateChanged(QProcess::ProcessState newState)
{
    if (newState == QProcess::NotRunning)
        treeKill.kill(process, true);
}

void ProcHandler::SetParameters(QStringList values)
{
    params = values;
}

bool ProcHandler::handleLine(const QByteArray& line)
{
    using Status = RuntimeMessage::Status;
    const RuntimeMessage message = RuntimeMessage::parse(line);
    if (message.empty)
        return true;
    if (message.isLogRecord())
        emit receivedLog(message.time, message.level, message.msg);

    switch (message.status) {
    case Status::Connected:
        emit robotConnected(robot);
        return true;
    case Status::Connecting:
        if (message.level == QLatin1String("error")) {
            emit authFailed();
            return false;
        }
        return true;
    case Status::AlreadyConnected:
        RuntimePrompts::showWarning(tr("Robot Connection"),
            tr("The robot you're attempting to connect is already connected. Please disconnect it first, or use the "
               "Admin Console's 'Robots' screen to remotely force a disconnection before trying again."));
        return true;
    case Status::WaitingInput:
        answerPrompt(message.msg);
        return true;
    case Status::LoggedIn:
        emit loggedIn(message.workspace());
        return true;
    case Status::WaitingSelection:
        return !selectRobot(message);
    case Status::Started:
    case Status::Stopped:
    case Status::Other:
        return true;
    }
    return true;
}

void ProcHandler::answerPrompt(const QString& prompt)
{
    QString answer;
    bool confirmed = true;
    if (prompt == QLatin1String("Password"))
        answer = password;
    else
        confirmed = RuntimePrompts::askInput(prompt, &answer);
    if (confirmed && !answer.isEmpty())
        writeLine(answer);
}

bool ProcHandler::selectRobot(const RuntimeMessage& message)
{
    const QList<RobotInfo*> robots = message.listedRobots();
    // Also when no receiver is left (a removed workspace's runtime may still list its robots).
    const auto release = qScopeGuard([&robots] { qDeleteAll(robots); });
    RobotInfo* chosen = nullptr;
    if (!robotId.isEmpty()) {
        // With repeated ids the last one listed is the one chosen.
        for (RobotInfo* listed : robots) {
            if (listed->id == robotId)
                chosen = listed;
        }
    }
    if (!chosen) {
        emit robotsListed(robots);
        return false;
    }
    writeLine(robotId);
    emit robotSelected(chosen);
    return true;
}

void ProcHandler::writeLine(const QString& text)
{
    process->write((text + QLatin1Char('\n')).toLocal8Bit());
}
