#include "programdriver.h"
#include "runtool.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <memory>
#include <signal.h>

using testsupport::ProgramDriver;

namespace {

constexpr int stepTimeoutMs = 30000;

QString runTool(const QString& name, const QStringList& arguments, int timeoutMs = 10000)
{
    return QString::fromUtf8(testsupport::runTool(name, arguments, timeoutMs).out);
}

// Signs in to "Acme" and lists robots r1 "Invoices" and r2 "Reports"; the robot's runner then reports it connected
// with one line of each level and waits.
const char* const scenario = R"([oxmerel-runner]
print {"status":"waiting_input","msg":"Password"}
expect
print {"status":"logged_in","workspace":"Acme"}
print {"status":"waiting_selection","items":[{"id":"r1","name":"Invoices"},{"id":"r2","name":"Reports"}]}
expect
print {"status":"connected","level":"info","msg":"connected ${LAST}","time":"10:00:00"}
print {"level":"info","msg":"first","time":"10:00:01"}
print {"level":"error","msg":"broken","time":"10:00:02"}
print {"level":"warning","msg":"careful","time":"10:00:03"}
hang
[oxmerel-agent]
hang
)";

} // namespace

// The real program on a private X server, seen through the accessibility bus as a screen reader sees it and driven
// from the keyboard only, against the runtime simulator.
class TestAccess final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void keyboardOnlyFlowAndNames();

private:
    // One line per object on screen: "role<TAB>name<TAB>description[<TAB>focused]", or problems; see atspi_walk.py.
    QStringList walk(const QString& option = QStringLiteral("--list")) const;
    // Waits for an object whose line matches the pattern whole.
    bool waitForObject(const QString& pattern) const;
    // Presses the xdotool key names, separated by spaces.
    void keys(const QString& names) const { ProgramDriver::keys(window, names.split(QLatin1Char(' '))); }
    void type(const QString& text) const
    {
        runTool(QStringLiteral("xdotool"), { QStringLiteral("type"), QStringLiteral("--window"), window, text });
    }

    std::unique_ptr<ProgramDriver> program;
    QString window;
    qint64 busPid = 0;
};

void TestAccess::initTestCase()
{
    // A session bus of the test's own, so that the program's accessibility bus is private too.
    const QString launched = runTool(QStringLiteral("dbus-launch"), { QStringLiteral("--sh-syntax") });
    const QRegularExpression variable(
        QStringLiteral("^(DBUS_SESSION_BUS_\\w+)='?([^';]*)'?;"), QRegularExpression::MultilineOption);
    for (auto it = variable.globalMatch(launched); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        if (match.captured(1) == QLatin1String("DBUS_SESSION_BUS_PID"))
            busPid = match.captured(2).toLongLong();
        qputenv(match.captured(1).toLatin1(), match.captured(2).toLocal8Bit());
    }
    QVERIFY2(busPid > 0, qPrintable(launched));
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    qputenv("PATH", qgetenv("OXMEREL_SIM_DIR") + ':' + qgetenv("PATH"));
    const QString scenarioPath = QDir::home().filePath(QStringLiteral("scenario"));
    QFile file(scenarioPath);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(scenario) > 0);
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(scenarioPath));
    program = std::make_unique<ProgramDriver>();
    QVERIFY(program->started());
    window = program->mainWindow();
    QVERIFY(!window.isEmpty());
    runTool(QStringLiteral("xdotool"), { QStringLiteral("windowfocus"), QStringLiteral("--sync"), window });
}

void TestAccess::cleanupTestCase()
{
    // The bus ends the accessibility bus and registry it started.
    if (busPid > 0)
        ::kill(static_cast<pid_t>(busPid), SIGTERM);
}

QStringList TestAccess::walk(const QString& option) const
{
    const QString walker = QFINDTESTDATA("atspi_walk.py");
    return runTool(
        QStringLiteral("/usr/bin/python3"), { walker, QString::number(program->pid()), option }, stepTimeoutMs)
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool TestAccess::waitForObject(const QString& pattern) const
{
    const QRegularExpression line(QRegularExpression::anchoredPattern(pattern));
    return QTest::qWaitFor([&] { return walk().indexOf(line) >= 0; }, stepTimeoutMs);
}

void TestAccess::keyboardOnlyFlowAndNames()
{
    // Nothing has the focus at first: Tab reaches the sidebar, then the sign-in form.
    keys(QStringLiteral("Tab Tab Tab"));
    type(QStringLiteral("acme"));
    keys(QStringLiteral("Tab"));
    type(QStringLiteral("robot@acme.example"));
    keys(QStringLiteral("Tab"));
    type(QStringLiteral("secret-password"));
    keys(QStringLiteral("Return"));
    QVERIFY(waitForObject(QStringLiteral("push button\tAcme\t.*")));

    // Select the workspace, go to its tree, connect the first robot from its menu.
    keys(QStringLiteral("Tab Tab Return Tab Tab Down Menu Down Return"));
    QVERIFY(waitForObject(QStringLiteral("table cell\tInvoices, connected\t\tfocused")));

    // Tab through the log page's tool bar to the log, and filter it from its menu.
    keys(QStringLiteral("Tab Tab Tab Tab Tab"));
    QVERIFY(waitForObject(QStringLiteral("text\tLog of Invoices\tAll lines\tfocused")));
    keys(QStringLiteral("Menu s e"));
    QVERIFY(waitForObject(QStringLiteral("text\tLog of Invoices\tErrors only\tfocused")));

    // Back to the robot's row and disconnect it ("Connect" is greyed out, so the third step down is "Disconnect").
    keys(QStringLiteral("shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab Menu Down Down Down Return"));
    QVERIFY(waitForObject(QStringLiteral("table cell\tInvoices, idle\t\tfocused")));

    // Every control on screen now (the tree, a log page filtered) has a name and the role it works as.
    QCOMPARE(walk(QString()), QStringList({ QStringLiteral("walked") }));
    const QStringList objects = walk();
    for (const QString& expected : { QStringLiteral("table cell\tReports, idle\t"),
             QStringLiteral("check box\tWord match\tMakes the search case-sensitive") })
        QVERIFY2(objects.contains(expected), qPrintable(objects.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestAccess)
#include "test_access.moc"
