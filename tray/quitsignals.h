#pragma once

#include <QObject>

// Turns the end of the session into an orderly quit: SIGTERM, SIGINT and SIGHUP (a log-off, kill, a closed terminal)
// on POSIX systems, the session manager's end of the user's session on Windows. One implementation per OS.
class QuitSignals : public QObject
{
    Q_OBJECT

public:
    explicit QuitSignals(QObject* parent);
    // Gives the signals back their default action: once the quit has run, nothing is left to stop.
    ~QuitSignals() override;

signals:
    // From the event loop; a second signal before the program has ended asks again.
    void quitRequested();
};
