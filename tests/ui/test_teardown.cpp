// Ending sessions against the runtime simulator: "Sign Out" of a signed-in workspace and the program's quit.
#include "connectdialog.h"
#include "connectdialogprobe.h"
#include "paths.h"
#include "qbutton.h"
#include "qloadingbutton.h"
#include "recordtypes.h"
#include "simrig.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QLayout>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

const QString acmeHost = QStringLiteral("acme.oxmerel.cloud");
const QString acmeIdentity = QStringLiteral("ann@acme.example");
const QString acmePassword = QStringLiteral("s3cret-pw");

QString credentialsWith(const QString& acmeRobots)
{
    return QStringLiteral("credentials:\n"
                          "  acme.oxmerel.cloud:\n"
                          "    identity: ann@acme.example\n"
                          "    password: czNjcmV0LXB3\n" // s3cret-pw
                          "    robots: %1\n"
                          "    vaults:\n"
                          "      v1: kept-secret\n"
                          "  globex.oxmerel.cloud:\n"
                          "    identity: bob@globex.example\n"
                          "    password: Z2xvYmV4LXB3\n"
                          "    robots: []\n")
        .arg(acmeRobots);
}

Session* signInSession(Workspace* ws)
{
    return ws->sessions.value(QString());
}

QList<qint64> pidsOf(const QList<QJsonObject>& starts)
{
    QList<qint64> pids;
    for (const QJsonObject& start : starts) {
        pids.append(SimRig::pidOf(start));
    }
    return pids;
}

} // namespace

class TestTeardown final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void signOutKeepsTheFileAndRefillsTheForm();
    void quitStopsEveryRobotAndKeepsTheFile();

private:
    void signIn(Workspace* ws);

    std::unique_ptr<SimRig> rig;
    std::unique_ptr<ConnectDialog> dialog;
    std::unique_ptr<ConnectDialogProbe> probe;
};

void TestTeardown::initTestCase()
{
    registerRecordMetaTypes();
}

void TestTeardown::init()
{
    rig = std::make_unique<SimRig>();
    rig->useScenario(signInScenario());
}

void TestTeardown::cleanup()
{
    probe.reset();
    dialog.reset();
    while (QWidget* modal = QApplication::activeModalWidget()) {
        delete modal;
    }
    rig.reset();
    QFile::remove(credentialsYamlPath());
}

void TestTeardown::signIn(Workspace* ws)
{
    probe->selectWorkspace(ws);
    QLoadingButton* button = signInSession(ws)->signInButton;
    QVERIFY(button->isEnabled());
    QTest::mouseClick(button, Qt::LeftButton);
    QTRY_VERIFY(ws->signOutAction->isEnabled());
    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-agent")).size(), 1);
}

void TestTeardown::signOutKeepsTheFileAndRefillsTheForm()
{
    SimRig::writeCredentials(credentialsWith(QStringLiteral("[]")));
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Workspace* acme = probe->workspaces().at(0);
    const QString acmeId = acme->getId();
    QLayout* sidebar = dialog->findChild<QLayout*>(QStringLiteral("scroll_v_layout"));
    const int position = sidebar->indexOf(acme->page);
    signIn(acme);
    const qint64 agent = SimRig::pidOf(rig->starts(QStringLiteral("oxmerel-agent")).first());
    const QString before = SimRig::credentialsText();

    acme->signOutAction->trigger();

    QCOMPARE(SimRig::credentialsText(), before);
    QTRY_VERIFY(!SimRig::alive(agent));
    QCOMPARE(probe->workspaces().size(), 2);
    Workspace* fresh = probe->current();
    QVERIFY(fresh->getId() != acmeId);
    QCOMPARE(sidebar->indexOf(fresh->page), position);
    QCOMPARE(fresh->button->text(), QStringLiteral("WS"));
    QVERIFY(!fresh->signOutAction->isEnabled());
    Session* form = signInSession(fresh);
    QCOMPARE(form->workspaceEdit->text(), acmeHost);
    QCOMPARE(form->identityEdit->text(), acmeIdentity);
    QCOMPARE(form->passwordEdit->text(), acmePassword);

    // One click signs in again: the workspace name is free, so no "Already connected".
    QTest::mouseClick(form->signInButton, Qt::LeftButton);
    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 2);
    QTRY_VERIFY(fresh->signOutAction->isEnabled());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestTeardown::quitStopsEveryRobotAndKeepsTheFile()
{
    SimRig::writeCredentials(credentialsWith(QStringLiteral("[r1, r2]")));
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Workspace* acme = probe->workspaces().at(0);
    signIn(acme);
    // The listing reconnects both remembered robots, each with a runner of its own.
    QTRY_VERIFY(acme->sessions.contains(QStringLiteral("r1")) && acme->sessions.value(QStringLiteral("r1"))->connected);
    QTRY_VERIFY(acme->sessions.contains(QStringLiteral("r2")) && acme->sessions.value(QStringLiteral("r2"))->connected);
    const QString before = SimRig::credentialsText();
    const QList<qint64> runtimes
        = pidsOf(rig->starts(QStringLiteral("oxmerel-runner"))) + pidsOf(rig->starts(QStringLiteral("oxmerel-agent")));
    QCOMPARE(runtimes.size(), 4);

    // exit() ends the event loop it runs in; the fallback timer only ends a loop that exit() failed to end.
    QTimer::singleShot(0, dialog.get(), [this] { probe->exit(); });
    QTimer::singleShot(10000, qApp, [] { QCoreApplication::exit(1); });
    QCOMPARE(QCoreApplication::exec(), 0);

    for (qint64 pid : runtimes) {
        QTRY_VERIFY2(!SimRig::alive(pid), qPrintable(QStringLiteral("runtime %1 still runs").arg(pid)));
    }
    QVERIFY(!acme->sessions.contains(QStringLiteral("r1")));
    QVERIFY(!acme->sessions.contains(QStringLiteral("r2")));
    // Quitting keeps the remembered robots for the next automatic start.
    QCOMPARE(SimRig::credentialsText(), before);
    QVERIFY(before.contains(QStringLiteral("robots: [r1, r2]")));
}

QTEST_MAIN(TestTeardown)
#include "test_teardown.moc"
