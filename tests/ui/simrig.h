#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class ConnectDialog;
class QLineEdit;
struct Session;
struct Workspace;

// End-to-end rig for the window against the runtime simulator: puts the simulator first on PATH, gives it a scenario
// and a record file, and reads back what each simulated runtime was started with and read on its standard input.
class SimRig
{
public:
    SimRig();
    ~SimRig();

    void useScenario(const QString& text);
    static void writeCredentials(const QString& yaml);
    static QString credentialsText();

    QList<QJsonObject> records() const;
    // Start records of one program ("oxmerel-runner" or "oxmerel-agent"), in start order.
    QList<QJsonObject> starts(const QString& program) const;
    QStringList stdinOf(qint64 pid) const;
    static QStringList argvOf(const QJsonObject& start);
    static qint64 pidOf(const QJsonObject& start);
    // True while the process exists and is not a zombie.
    static bool alive(qint64 pid);
    // Kills, by process group, whatever the recorded simulator processes left running.
    void killLeftovers() const;

    // Fills the current sign-in form with real key presses and clicks "Sign In".
    static void typeSignIn(Session* s, const QString& workspace, const QString& identity, const QString& password);
    static void typeInto(QLineEdit* field, const QString& text);
    // Clicks the button of the application's modal dialog that shows `text`.
    static bool clickModalButton(const QString& text);
    // All texts of the labels of the modal dialog, joined by "|".
    static QString modalTexts();

private:
    QTemporaryDir dir;
    QString recordPath;
};

// A runner that signs in (password prompt, "Acme", robots r1 "Invoices" and r2 "Reports"), then waits for a robot id
// and reports it connected; an agent that stays up.
QString signInScenario(const QString& afterConnected = QStringLiteral("hang"));
