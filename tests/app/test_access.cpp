#include "processes.h"
#include "programdriver.h"
#include "runtool.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using testsupport::ProgramDriver;

namespace {

constexpr int stepTimeoutMs = 30000;

QString runTool(const QString& name, const QStringList& arguments, int timeoutMs = 10000)
{
    return QString::fromUtf8(testsupport::runTool(name, arguments, timeoutMs).out);
}

} // namespace

// The real program on a private X server and session bus, seen through the accessibility bus as a screen reader sees
// it and driven from the keyboard only, against the runtime simulator.
class TestAccess final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
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
};

void TestAccess::initTestCase()
{
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(QFINDTESTDATA("../data/keyboard-flow.scenario")));
    testsupport::useSimulator(QDir::homePath());
    program = std::make_unique<ProgramDriver>();
    QVERIFY(program->started());
    window = program->mainWindow();
    QVERIFY2(!window.isEmpty(), program->running() ? "the program runs but shows no window" : "the program ended");
    runTool(QStringLiteral("xdotool"), { QStringLiteral("windowfocus"), QStringLiteral("--sync"), window });
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

    // Every control on screen now (the tree, the robot's log page) has a name and the role it works as.
    QCOMPARE(walk(QString()), QStringList({ QStringLiteral("walked") }));
    const QStringList objects = walk();
    for (const QString& expected :
        { QStringLiteral("table cell\tReports, idle\t"), QStringLiteral("text\tLog of Invoices\tAll lines"),
            QStringLiteral("check box\tWord match\tMakes the search case-sensitive") })
        QVERIFY2(objects.contains(expected), qPrintable(objects.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestAccess)
#include "test_access.moc"
