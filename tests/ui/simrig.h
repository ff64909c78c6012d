#pragma once

#include "connectdialogprobe.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

class QLineEdit;
class QTreeWidgetItem;
class TreeItem;

// End-to-end rig for the window against the runtime simulator: puts the simulator first on PATH, gives it a scenario
// and a record file, owns the window under test, and reads back what each simulated runtime was started with and
// read on its standard input. Ending the rig quits the window and removes what the test left on disk.
class SimRig
{
public:
    SimRig();
    ~SimRig();

    ConnectDialogProbe& open();
    ConnectDialog* dialog() const { return window.get(); }
    ConnectDialogProbe& probe() const { return *windowProbe; }
    // Opens the window, signs in to "acme.oxmerel.cloud" by typing, and waits for the listed robots' rows.
    Workspace* signIn();

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

    static QTreeWidgetItem* rowItem(Workspace* ws, const QString& id);
    static TreeItem* rowOf(Workspace* ws, const QString& id);
    // Selects the robot's row, as a click would, and returns the robot's session.
    static Session* openRobot(Workspace* ws, const QString& id);

    static void typeInto(QLineEdit* field, const QString& text);
    // Types the three texts into a sign-in form and clicks "Sign In".
    static void typeSignIn(Session* s, const QString& workspace, const QString& identity, const QString& password);
    // Clicks the button of the application's modal dialog that shows `text`.
    static bool clickModalButton(const QString& text);
    // All texts of the labels of the modal dialog, joined by "|".
    static QString modalTexts();

private:
    void killLeftovers() const;

    QTemporaryDir dir;
    QString recordPath;
    std::unique_ptr<ConnectDialog> window;
    std::unique_ptr<ConnectDialogProbe> windowProbe;
};

extern const QString testWorkspace;
extern const QString testIdentity;
extern const QString testPassword;

// A runner that signs in (password prompt, "Acme", robots r1 "Invoices" and r2 "Reports"), then waits for a robot id,
// reports it connected and goes on with `afterConnected`; an agent that stays up.
QString signInScenario(const QString& afterConnected = QStringLiteral("hang"));
