#pragma once

#include "robotinfo.h"
#include "treekill.h"

#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

struct RuntimeMessage;

// One robot runtime child: starts it, answers its prompts on stdin, turns its JSON lines into signals and kills it
// with everything it started.
class ProcHandler : public QObject
{
    Q_OBJECT

public:
    ProcHandler(QObject* parent, int mode);
    // A running child goes with its handler, as QProcess would have it, and takes its own children along.
    ~ProcHandler() override;

    void start(const QString& program, const QStringList& arguments);
    void stop();
    void setPassword(const QString& value);
    void setRobotId(const QString& value);
    // For an owner that is done with the handler: it goes now when its child has ended, else once the child ends.
    void deleteWhenEnded();

    // 2 for a runner handler, 1 for an agent handler; the handler itself does not look at it.
    int mode;
    QProcess* process;
    QStringList params;
    QString password;
    QString robotId;
    // Carried by robotConnected; never assigned, so always null.
    RobotInfo* robot;

signals:
    // Texts by reference: the same normalized signature, without copies per line.
    void receivedLog(const QString& time, const QString& level, const QString& msg);
    void loggedIn(const QString& wsName);
    // The listed robots are the handler's and last for the signal only: receivers copy what they keep.
    void robotsListed(QList<RobotInfo*> robots);
    void robotSelected(RobotInfo* robot);
    void robotConnected(RobotInfo* robot);
    void authFailed();
    void onExit(int exitCode, QProcess::ExitStatus exitStatus);

private slots:
    void onStdoutAvailable();
    void onFinished(int exitCode, QProcess::ExitStatus exitStatus);
    void onStarted();
    void onReadyReadStandardError();
    void onErrorOccurred(QProcess::ProcessError error);
    void onStateChanged(QProcess::ProcessState newState);
    void SetParameters(QStringList params);

private:
    friend struct ProcHandlerFuzzFeed; // the output protocol's fuzz harness

    // A line still without its end past this is dropped up to its end: enough for any real record, and it bounds
    // what an endless line can hold.
    static constexpr qint64 maximumLineBytes = 8 * 1024 * 1024;

    // False when reading has to stop, or no complete line is left.
    bool readLines();
    QByteArray readWholeLine();
    // True once the end of the line being dropped has been read.
    bool dropToLineEnd();
    // False when reading has to stop after this line.
    bool handleLine(const QByteArray& line);
    void answerPrompt(const QString& prompt);
    // True when the robot chosen in advance answered the listing.
    bool selectRobot(const RuntimeMessage& message);
    void writeLine(const QString& text);

    TreeKill treeKill;
    QByteArray lineBuffer;
    bool droppingLine = false;
};
