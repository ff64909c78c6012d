#include "processes.h"
#include "programdriver.h"
#include "runtool.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using testsupport::ProgramDriver;

namespace {

constexpr int stepTimeoutMs = 30000;

QString runTool(const QString& name, const QStringList& arguments, int timeoutMs = 10000)
{
    return QString::fromUtf8(testsupport::runTool(name, arguments, timeoutMs).out);
}

// One line per object on screen: "role<TAB>name<TAB>description[<TAB>focused]", or problems; see atspi_walk.py.
QStringList walk(qint64 pid, const QString& option = u"--list"_s)
{
    const QString walker = QFINDTESTDATA("atspi_walk.py");
    return runTool(u"/usr/bin/python3"_s, { walker, QString::number(pid), option }, stepTimeoutMs)
        .split('\n'_L1, Qt::SkipEmptyParts);
}

} // namespace

// The real program on a private X server and session bus, seen through the accessibility bus as a screen reader sees
// it and driven from the keyboard only, against the runtime simulator.
class TestAccess final : public QObject
{
    Q_OBJECT

private slots:
    void keyboardOnlyFlowAndNames()
    {
        qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(QFINDTESTDATA("../data/keyboard-flow.scenario")));
        testsupport::useSimulator(QDir::homePath());
        ProgramDriver program;
        const QString window = program.mainWindow();
        QVERIFY2(!window.isEmpty(), program.running() ? "the program runs but shows no window" : "the program ended");
        runTool(u"xdotool"_s, { u"windowfocus"_s, u"--sync"_s, window });
        // Presses xdotool key names separated by spaces, or types a text, or waits for an object's line.
        const auto keys = [&](const QString& names) { ProgramDriver::keys(window, names.split(' '_L1)); };
        const auto type = [&](const QString& text) {
            runTool(u"xdotool"_s, { u"type"_s, u"--window"_s, window, text });
        };
        const auto waitForObject = [&](const QString& pattern) {
            const QRegularExpression line(QRegularExpression::anchoredPattern(pattern));
            return QTest::qWaitFor([&] { return walk(program.pid()).indexOf(line) >= 0; }, stepTimeoutMs);
        };

        // Nothing has the focus at first: Tab reaches the sidebar, then the sign-in form.
        keys(u"Tab Tab Tab"_s);
        type(u"acme"_s);
        keys(u"Tab"_s);
        type(u"robot@acme.example"_s);
        keys(u"Tab"_s);
        type(u"secret-password"_s);
        keys(u"Return"_s);
        QVERIFY(waitForObject(u"push button\tAcme\t.*"_s));

        // Select the workspace, go to its tree, connect the first robot from its menu.
        keys(u"Tab Tab Return Tab Tab Down Menu Down Return"_s);
        QVERIFY(waitForObject(u"table cell\tInvoices, connected\t\tfocused"_s));

        // Every control on screen now (the tree, the robot's log page) has a name and the role it works as.
        QCOMPARE(walk(program.pid(), QString()), QStringList({ u"walked"_s }));
        const QStringList objects = walk(program.pid());
        for (const QString& expected : { u"table cell\tReports, idle\t"_s, u"text\tLog of Invoices\tAll lines"_s,
                 u"check box\tWord match\tMakes the search case-sensitive"_s })
            QVERIFY2(objects.contains(expected), qPrintable(objects.join('\n'_L1)));
    }
};

QTEST_MAIN(TestAccess)
#include "test_access.moc"
