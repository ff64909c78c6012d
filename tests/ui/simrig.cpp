#include "simrig.h"

#include "recordtypes.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>

#include <csignal>
#include <unistd.h>

const QString testWorkspace = u"acme.oxmerel.cloud"_s;
const QString testIdentity = u"ann@acme.example"_s;
const QString testPassword = u"s3cret-pw"_s;

SimRig::SimRig()
{
    registerRecordMetaTypes();
    recordPath = testsupport::useSimulator(dir.path());
    useScenario(signInScenario());
}

SimRig::~SimRig()
{
    if (window)
        window->exit();
    window.reset();
    while (QWidget* modal = QApplication::activeModalWidget())
        delete modal;
    for (const qint64 pid : testsupport::simulatorPids(recordPath, u"pid"_s)) {
        if (pid <= 1 || !alive(pid))
            continue;
        // Each runtime leads its own process group; never signal ours.
        const pid_t group = getpgid(static_cast<pid_t>(pid));
        ::kill(group == pid && group != getpgrp() ? -group : static_cast<pid_t>(pid), SIGKILL);
    }
    QFile::remove(credentialsYamlPath());
    QDir(robotLocksDir()).removeRecursively();
}

Workspace* SimRig::open()
{
    window = std::make_unique<ConnectDialog>(nullptr);
    d = window.get();
    return current();
}

Workspace* SimRig::signIn(const QString& acmeRobots)
{
    testsupport::writeFile(credentialsYamlPath(), credentialsFile(acmeRobots).toUtf8());
    open();
    Workspace* acme = workspaces().value(0);
    selectWorkspace(acme);
    QTest::mouseClick(acme->sessions.value(QString())->signInButton, Qt::LeftButton);
    const bool ready
        = QTest::qWaitFor([this, acme] { return agents().size() == 1 && rowItem(acme, u"r2"_s) != nullptr; }, 30000);
    return ready ? acme : nullptr;
}

Workspace* SimRig::list(const QStringList& ids)
{
    if (!window)
        open();
    QList<RobotInfo*> robots;
    for (const QString& id : ids) {
        listed.push_back(std::make_unique<RobotInfo>(id, u"Robot "_s + id));
        robots.append(listed.back().get());
    }
    mergeListedRobots(current(), robots);
    return current();
}

void SimRig::useScenario(const QString& text)
{
    const QString path = dir.filePath(u"scenario.txt"_s);
    testsupport::writeFile(path, text.toUtf8());
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(path));
}

QList<SimStart> SimRig::starts(const QString& program) const
{
    QList<SimStart> result;
    const QList<QByteArray> lines = testsupport::readFile(recordPath).split('\n');
    for (const QByteArray& line : lines) {
        const QJsonObject record = QJsonDocument::fromJson(line).object();
        const qint64 pid = record.value(u"pid"_s).toInteger();
        if (record.value(u"program"_s).toString() == program)
            result.append(SimStart { pid, record.value(u"argv"_s).toVariant().toStringList(), {} });
        for (SimStart& start : result) {
            if (start.pid == pid && record.contains(u"stdin"_s))
                start.input.append(record.value(u"stdin"_s).toString());
        }
    }
    return result;
}

QTreeWidgetItem* rowItem(Workspace* ws, const QString& id)
{
    QTreeWidgetItem* root = ws->tree->topLevelItem(0);
    for (int i = 0; i < root->childCount(); ++i) {
        if (root->child(i)->data(0, Qt::UserRole).toString() == id)
            return root->child(i);
    }
    return nullptr;
}

TreeItem* rowOf(Workspace* ws, const QString& id)
{
    return qobject_cast<TreeItem*>(ws->tree->rowWidget(rowItem(ws, id)));
}

bool isConnected(Workspace* ws, const QString& id)
{
    const Session* s = ws->sessions.value(id);
    return s && s->connected;
}

Session* openRobot(Workspace* ws, const QString& id)
{
    ws->tree->setCurrentItem(rowItem(ws, id));
    return ws->sessions.value(id);
}

void fillForm(Session* s, const QString& workspace)
{
    const QList<QLineEdit*> fields { s->workspaceEdit, s->identityEdit, s->passwordEdit };
    const QStringList texts { workspace, testIdentity, testPassword };
    for (int i = 0; i < fields.size(); ++i) {
        QTest::mouseClick(fields[i], Qt::LeftButton);
        QTest::keyClicks(fields[i], texts[i]);
    }
}

QString answerModal(const QString& click)
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal)
        return QString();
    QStringList texts;
    for (const QLabel* label : modal->findChildren<QLabel*>())
        texts.append(label->text());
    for (QPushButton* button : modal->findChildren<QPushButton*>()) {
        if (button->text() == click) {
            QTest::mouseClick(button, Qt::LeftButton);
            break;
        }
    }
    return texts.join(QLatin1Char('|'));
}

QString credentialsText()
{
    return QString::fromUtf8(testsupport::readFile(credentialsYamlPath()));
}

QString credentialsFile(const QString& acmeRobots)
{
    return QStringLiteral("credentials:\n"
                          "  acme.oxmerel.cloud:\n"
                          "    identity: ann@acme.example\n"
                          "    password: czNjcmV0LXB3\n" // the test password in base64
                          "    robots: %1\n"
                          "    vaults: {v1: kept-secret}\n"
                          "  globex.oxmerel.cloud:\n"
                          "    identity: bob@globex.example\n"
                          "    password: Z2xvYmV4LXB3\n"
                          "    robots: [r1]\n"
                          "    extra: kept\n")
        .arg(acmeRobots);
}

QString signInScenario(const QString& afterConnected, const QString& workspaceName)
{
    return QStringLiteral("[oxmerel-runner]\n"
                          "print {\"status\":\"waiting_input\",\"msg\":\"Password\"}\n"
                          "expect\n"
                          "print {\"status\":\"logged_in\",\"workspace\":\"%1\"}\n"
                          "print {\"status\":\"waiting_selection\",\"items\":[{\"id\":\"r1\",\"name\":\"Invoices\"},"
                          "{\"id\":\"r2\",\"name\":\"Reports\"}]}\n"
                          "expect\n"
                          "print {\"status\":\"connected\",\"level\":\"info\",\"msg\":\"connected ${LAST}\","
                          "\"time\":\"10:00:00\"}\n")
               .arg(workspaceName)
        + afterConnected + u"\n[oxmerel-agent]\nhang\n"_s;
}
