// The sign-in flow end to end against the runtime simulator: typing, validation, the runner and agent command lines
// and answers, the listing, failures and refusals.
#include "qbutton.h"
#include "qloadingbutton.h"
#include "simrig.h"
#include "treeitem.h"
#include "treewidget.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>

namespace {

int openMessages(const QString& title)
{
    int count = 0;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && !window->inherits("ConnectDialog")) {
            for (const QLabel* label : window->findChildren<QLabel*>())
                count += label->text() == title ? 1 : 0;
        }
    }
    return count;
}

QStringList command(const QString& workspace, const QStringList& tail)
{
    return QStringList({ QStringLiteral("connect"), QStringLiteral("-i"), testIdentity, QStringLiteral("-w"), workspace,
               QStringLiteral("--stdin") })
        + tail;
}

} // namespace

class TestSignin final : public QObject
{
    Q_OBJECT

private slots:
    void init() { rig = std::make_unique<SimRig>(); }
    void cleanup() { rig.reset(); }
    void bareLabelAndEnterSignsInOnce();
    void validationEnablesSignIn_data();
    void validationEnablesSignIn();
    void twoFailuresShowOneMessage();
    void secondSignInToTheSameWorkspaceIsRefused();
    void rememberedRobotsReconnectWithTheirIds();

private:
    std::unique_ptr<SimRig> rig;
};

void TestSignin::bareLabelAndEnterSignsInOnce()
{
    ConnectDialogProbe& probe = rig->open();
    Workspace* ws = probe.current();
    Session* s = ws->sessions.value(QString());
    // Whichever push button the dialog holds as its default, Enter in the form must not click it.
    for (QPushButton* button : rig->dialog()->findChildren<QPushButton*>()) {
        if (button->toolTip() == QStringLiteral("Add Workspace"))
            button->setDefault(true);
    }

    SimRig::typeInto(s->workspaceEdit, QStringLiteral("acme"));
    SimRig::typeInto(s->identityEdit, testIdentity);
    SimRig::typeInto(s->passwordEdit, testPassword);
    QVERIFY(!s->signInButton->isEnabled());
    QTest::keyClick(s->passwordEdit, Qt::Key_Return);
    QCOMPARE(s->workspaceEdit->text(), testWorkspace);

    QTRY_VERIFY(SimRig::rowOf(ws, QStringLiteral("r2")));
    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-agent")).size(), 1);
    QTest::qWait(200);
    const QList<QJsonObject> runners = rig->starts(QStringLiteral("oxmerel-runner"));
    QCOMPARE(runners.size(), 1);
    QCOMPARE(SimRig::argvOf(runners.first()),
        command(testWorkspace, { QStringLiteral("--remember"), QStringLiteral("-s") }));
    QCOMPARE(rig->stdinOf(SimRig::pidOf(runners.first())), QStringList({ testPassword }));
    QTRY_VERIFY(!SimRig::alive(SimRig::pidOf(runners.first())));
    QCOMPARE(SimRig::argvOf(rig->starts(QStringLiteral("oxmerel-agent")).first()), command(testWorkspace, {}));

    QCOMPARE(ws->name, QStringLiteral("Acme"));
    QCOMPARE(ws->button->text(), QStringLiteral("AC"));
    QCOMPARE(SimRig::rowOf(ws, QStringLiteral("r1"))->nameLabel->text(), QStringLiteral("Invoices"));
    QCOMPARE(s->signInButton->text(), QStringLiteral("Sign In"));
    QVERIFY(s->signInButton->isEnabled());
    // Enter did nothing else: no workspace added, the window still up, no message.
    QCOMPARE(probe.workspaces().size(), 1);
    QVERIFY(rig->dialog()->isVisible());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestSignin::validationEnablesSignIn_data()
{
    QTest::addColumn<QString>("workspace");
    QTest::addColumn<QString>("email");
    QTest::addColumn<QString>("secret");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("valid") << testWorkspace << testIdentity << QStringLiteral("1234567") << true;
    QTest::newRow("password of 6") << testWorkspace << testIdentity << QStringLiteral("123456") << false;
    QTest::newRow("no dot after @") << testWorkspace << QStringLiteral("ann@acme") << testPassword << false;
    QTest::newRow("plus in email") << testWorkspace << QStringLiteral("a.b+c@x-y.co.uk") << testPassword << true;
    QTest::newRow("bare label") << QStringLiteral("acme") << testIdentity << testPassword << false;
    QTest::newRow("leading dash") << QStringLiteral("-acme.oxmerel.cloud") << testIdentity << testPassword << false;
    QTest::newRow("digit after dot") << QStringLiteral("acme.1cloud") << testIdentity << testPassword << false;
}

void TestSignin::validationEnablesSignIn()
{
    QFETCH(QString, workspace);
    QFETCH(QString, email);
    QFETCH(QString, secret);
    QFETCH(bool, enabled);
    Session* s = rig->open().current()->sessions.value(QString());
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
    ConnectDialogProbe& probe = rig->open();
    Session* s = probe.current()->sessions.value(QString());
    SimRig::typeSignIn(s, testWorkspace, testIdentity, testPassword);
    QVERIFY(!s->signInButton->isEnabled());

    QTRY_COMPARE(openMessages(QStringLiteral("Connection failed")), 1);
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Please check your credentials and try again.")));
    // Both failures were read (each leaves its log line) but only one message is up.
    QTRY_COMPARE(s->logView->blockCount(), 2);
    QCOMPARE(openMessages(QStringLiteral("Connection failed")), 1);
    QCOMPARE(s->signInButton->text(), QStringLiteral("Sign In"));
    QVERIFY(s->signInButton->isEnabled());
    QVERIFY(SimRig::clickModalButton(QStringLiteral("OK")));
    QTRY_VERIFY(!probe.messageOpen());
}

void TestSignin::secondSignInToTheSameWorkspaceIsRefused()
{
    QVERIFY(rig->signIn());
    Session* s = rig->probe().addConnect()->sessions.value(QString());
    SimRig::typeSignIn(s, testWorkspace, testIdentity, testPassword);
    QTRY_VERIFY(SimRig::modalTexts().contains(QStringLiteral("This workspace is already connected.")));
    QVERIFY(SimRig::modalTexts().contains(QStringLiteral("Already connected")));
    QVERIFY(s->signInButton->isEnabled());
    QCOMPARE(s->signInButton->text(), QStringLiteral("Sign In"));
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 1);
}

void TestSignin::rememberedRobotsReconnectWithTheirIds()
{
    SimRig::writeCredentials(QStringLiteral("credentials:\n"
                                            "  acme.oxmerel.cloud:\n"
                                            "    identity: ann@acme.example\n"
                                            "    password: czNjcmV0LXB3\n" // base64 of the password
                                            "    robots:\n"
                                            "      - r2\n"));
    Workspace* ws = rig->open().current();
    Session* s = ws->sessions.value(QString());
    QCOMPARE(s->passwordEdit->text(), testPassword);
    QTest::mouseClick(s->signInButton, Qt::LeftButton);

    QTRY_COMPARE(rig->starts(QStringLiteral("oxmerel-runner")).size(), 2);
    const qint64 robotRunner = SimRig::pidOf(rig->starts(QStringLiteral("oxmerel-runner")).at(1));
    QTRY_COMPARE(rig->stdinOf(robotRunner), QStringList({ testPassword, QStringLiteral("r2") }));
    QTRY_VERIFY(ws->sessions.value(QStringLiteral("r2")) && ws->sessions.value(QStringLiteral("r2"))->connected);
    QCOMPARE(ws->robots, QStringList({ QStringLiteral("r2") }));
    QCOMPARE(rig->starts(QStringLiteral("oxmerel-agent")).size(), 1);
}

QTEST_MAIN(TestSignin)
#include "test_signin.moc"
