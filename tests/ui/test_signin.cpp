// The sign-in flow end to end against the runtime simulator: typing, validation, the runner and agent command lines
// and answers, the listing, failures and refusals.
#include "connectdialog.h"
#include "connectdialogprobe.h"
#include "paths.h"
#include "qbutton.h"
#include "qloadingbutton.h"
#include "recordtypes.h"
#include "simrig.h"
#include "treeitem.h"
#include "treewidget.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

namespace {

const QString workspaceHost = QStringLiteral("acme.oxmerel.cloud");
const QString identity = QStringLiteral("ann@acme.example");
const QString password = QStringLiteral("s3cret-pw");

int visibleRobotRows(Workspace* ws)
{
    int rows = 0;
    QTreeWidgetItem* root = ws->tree->topLevelItem(0);
    for (int i = 0; i < root->childCount(); ++i)
        rows += root->child(i)->isHidden() ? 0 : 1;
    return rows;
}

int openMessageDialogs(const QString& title)
{
    int count = 0;
    const QList<QWidget*> windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (!window->isVisible() || window->inherits("ConnectDialog"))
            continue;
        const QList<QLabel*> labels = window->findChildren<QLabel*>();
        for (const QLabel* label : labels)
            count += label->text() == title ? 1 : 0;
    }
    return count;
}

} // namespace

class TestSignin final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void bareLabelAndEnterSignsInOnce();
    void validationEnablesSignIn_data();
    void validationEnablesSignIn();
    void twoFailuresShowOneMessage();
    void secondSignInToTheSameWorkspaceIsRefused();
    void rememberedRobotsReconnectWithTheirIds();

private:
    Session* signInSession() const { return probe->current()->sessions.value(QString()); }

    std::unique_ptr<SimRig> rig;
    std::unique_ptr<ConnectDialog> dialog;
    std::unique_ptr<ConnectDialogProbe> probe;
};

void TestSignin::initTestCase()
{
    registerRecordMetaTypes();
}

void TestSignin::init()
{
    rig = std::make_unique<SimRig>();
    rig->useScenario(signInScenario());
}

void TestSignin::cleanup()
{
    if (probe)
        probe->exit();
    probe.reset();
    dialog.reset();
    while (QWidget* modal = QApplication::activeModalWidget())
        delete modal;
    rig.reset();
    QFile::remove(credentialsYamlPath());
}

void TestSignin::bareLabelAndEnterSignsInOnce()
{
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Session* s = signInSession();
    QVERIFY(!s->signInButton->isEnabled());
    // Whichever push button the dialog holds as its default, Enter in the form must not click it.
    QPushButton* addWorkspace = nullptr;
    for (QPushButton* button : dialog->findChildren<QPushButton*>()) {
        if (button->toolTip() == QStringLiteral("Add Workspace"))
            addWorkspace = button;
    }
    QVERIFY(addWorkspace);
    addWorkspace->setDefault(true);

    SimRig::typeInto(s->workspaceEdit, QStringLiteral("acme"));
    SimRig::typeInto(s->identityEdit, identity);
    SimRig::typeInto(s->passwordEdit, password);
    QVERIFY(!s->signInButton->isEnabled());
    QTest::keyClick(s->passwordEdit, Qt::Key_Return);
    QCOMPARE(s->workspaceEdit->text(), workspaceHost);

    Workspace* ws = probe->current();
    QTRY_COMPARE(visibleRobotRows(ws), 2);
    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-agent")).size(), 1);
    QTest::qWait(200);

    // One runner, with the form's texts and the session's default crash-dump option; the password on its stdin.
    const QList<QJsonObject> runners = rig->starts(QStringLiteral("oxmerel-runner"));
    QCOMPARE(runners.size(), 1);
    QCOMPARE(SimRig::argvOf(runners.first()),
        QStringList({ QStringLiteral("connect"), QStringLiteral("-i"), identity, QStringLiteral("-w"), workspaceHost,
            QStringLiteral("--stdin"), QStringLiteral("--remember"), QStringLiteral("-s") }));
    QCOMPARE(rig->stdinOf(SimRig::pidOf(runners.first())), QStringList({ password }));
    // The listing runner is stopped once the robots are known.
    QTRY_VERIFY(!SimRig::alive(SimRig::pidOf(runners.first())));

    const QList<QJsonObject> agents = rig->starts(QStringLiteral("oxmerel-agent"));
    QCOMPARE(SimRig::argvOf(agents.first()),
        QStringList({ QStringLiteral("connect"), QStringLiteral("-i"), identity, QStringLiteral("-w"), workspaceHost,
            QStringLiteral("--stdin") }));

    // The listing names the workspace and fills the tree; the form is back to idle.
    QCOMPARE(ws->name, QStringLiteral("Acme"));
    QCOMPARE(ws->button->text(), QStringLiteral("AC"));
    QCOMPARE(ws->button->toolTip(), QStringLiteral("Acme"));
    QCOMPARE(s->signInButton->text(), QStringLiteral("Sign In"));
    QVERIFY(s->signInButton->isEnabled());
    auto* firstRow = qobject_cast<TreeItem*>(ws->tree->itemWidget(ws->tree->topLevelItem(0)->child(1), 0));
    QCOMPARE(firstRow->nameLabel->text(), QStringLiteral("Invoices"));

    // Enter did nothing else: no workspace added, the window not hidden, no message.
    QCOMPARE(probe->workspaces().size(), 1);
    QVERIFY(dialog->isVisible());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestSignin::validationEnablesSignIn_data()
{
    QTest::addColumn<QString>("workspace");
    QTest::addColumn<QString>("email");
    QTest::addColumn<QString>("secret");
    QTest::addColumn<bool>("enabled");

    QTest::newRow("valid") << workspaceHost << identity << QStringLiteral("1234567") << true;
    QTest::newRow("password of 6") << workspaceHost << identity << QStringLiteral("123456") << false;
    QTest::newRow("no dot after @") << workspaceHost << QStringLiteral("ann@acme") << password << false;
    QTest::newRow("no @") << workspaceHost << QStringLiteral("ann.acme.example") << password << false;
    QTest::newRow("plus and dots in email")
        << workspaceHost << QStringLiteral("ann.lee+rpa@acme-corp.co.uk") << password << true;
    QTest::newRow("bare label") << QStringLiteral("acme") << identity << password << false;
    QTest::newRow("leading dash") << QStringLiteral("-acme.oxmerel.cloud") << identity << password << false;
    QTest::newRow("digit after dot") << QStringLiteral("acme.1cloud") << identity << password << false;
    QTest::newRow("dashes inside") << QStringLiteral("my-ws.eu-1.oxmerel.cloud") << identity << password << true;
}

void TestSignin::validationEnablesSignIn()
{
    QFETCH(QString, workspace);
    QFETCH(QString, email);
    QFETCH(QString, secret);
    QFETCH(bool, enabled);

    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Session* s = signInSession();
    SimRig::typeInto(s->workspaceEdit, workspace);
    SimRig::typeInto(s->identityEdit, email);
    SimRig::typeInto(s->passwordEdit, secret);
    QCOMPARE(s->signInButton->isEnabled(), enabled);
}

void TestSignin::twoFailuresShowOneMessage()
{
    rig->useScenario(QStringLiteral("[oxmerel-runner]\n"
                                    "print {\"status\":\"waiting_input\",\"msg\":\"Password\"}\n"
                                    "expect\n"
                                    "print {\"status\":\"connecting\",\"level\":\"error\",\"msg\":\"denied\"}\n"
                                    "sleep 300\n"
                                    "print {\"status\":\"connecting\",\"level\":\"error\",\"msg\":\"denied\"}\n"
                                    "hang\n"));
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Session* s = signInSession();
    SimRig::typeSignIn(s, workspaceHost, identity, password);
    QVERIFY(!s->signInButton->isEnabled());

    QTRY_COMPARE(openMessageDialogs(QStringLiteral("Connection failed")), 1);
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Please check your credentials and try again.")));
    QTRY_COMPARE(s->logView->blockCount(), 2);
    QCOMPARE(openMessageDialogs(QStringLiteral("Connection failed")), 1);
    QCOMPARE(s->signInButton->text(), QStringLiteral("Sign In"));
    QVERIFY(s->signInButton->isEnabled());

    QVERIFY(SimRig::clickModalButton(QStringLiteral("OK")));
    QTRY_COMPARE(openMessageDialogs(QStringLiteral("Connection failed")), 0);
    QVERIFY(!probe->messageOpen());
}

void TestSignin::secondSignInToTheSameWorkspaceIsRefused()
{
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Workspace* first = probe->current();
    SimRig::typeSignIn(signInSession(), workspaceHost, identity, password);
    QTRY_COMPARE(visibleRobotRows(first), 2);

    probe->addConnect();
    Session* s = signInSession();
    SimRig::typeSignIn(s, workspaceHost, identity, password);
    QTRY_VERIFY(QApplication::activeModalWidget());
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Already connected")));
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("This workspace is already connected.")));
    QVERIFY(s->signInButton->isEnabled());
    QCOMPARE(s->signInButton->text(), QStringLiteral("Sign In"));
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 1);
    QVERIFY(SimRig::clickModalButton(QStringLiteral("OK")));
}

void TestSignin::rememberedRobotsReconnectWithTheirIds()
{
    SimRig::writeCredentials(QStringLiteral("credentials:\n"
                                            "  acme.oxmerel.cloud:\n"
                                            "    identity: ann@acme.example\n"
                                            "    password: czNjcmV0LXB3\n" // base64 of the password
                                            "    robots:\n"
                                            "      - r2\n"));
    dialog = std::make_unique<ConnectDialog>(nullptr);
    probe = std::make_unique<ConnectDialogProbe>(dialog.get());
    Workspace* ws = probe->current();
    Session* s = signInSession();
    QCOMPARE(s->passwordEdit->text(), password);
    QVERIFY(s->signInButton->isEnabled());
    QTest::mouseClick(s->signInButton, Qt::LeftButton);

    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 2);
    const QJsonObject robotRunner = rig->starts(QStringLiteral("oxmerel-runner")).at(1);
    QTRY_COMPARE(rig->stdinOf(SimRig::pidOf(robotRunner)), QStringList({ password, QStringLiteral("r2") }));
    QTRY_VERIFY(ws->sessions.value(QStringLiteral("r2")) && ws->sessions.value(QStringLiteral("r2"))->connected);
    QCOMPARE(ws->robots, QStringList({ QStringLiteral("r2") }));
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-agent")).size(), 1);
}

QTEST_MAIN(TestSignin)
#include "test_signin.moc"
