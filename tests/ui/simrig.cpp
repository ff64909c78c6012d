#include "simrig.h"

#include "paths.h"
#include "qloadingbutton.h"
#include "recordtypes.h"
#include "treeitem.h"
#include "treewidget.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidgetItem>

#include <csignal>
#include <unistd.h>

const QString testWorkspace = QStringLiteral("acme.oxmerel.cloud");
const QString testIdentity = QStringLiteral("ann@acme.example");
const QString testPassword = QStringLiteral("s3cret-pw");

SimRig::SimRig()
{
    registerRecordMetaTypes();
    const QByteArray simDir = qgetenv("OXMEREL_SIM_DIR");
    const QByteArray path = qgetenv("PATH");
    const QByteArray prefix = simDir + ':';
    if (!path.startsWith(prefix))
        qputenv("PATH", prefix + path);
    recordPath = dir.filePath(QStringLiteral("record.jsonl"));
    qputenv("OXMEREL_SIM_RECORD", QFile::encodeName(recordPath));
    useScenario(signInScenario());
}

SimRig::~SimRig()
{
    if (windowProbe)
        windowProbe->exit();
    windowProbe.reset();
    window.reset();
    while (QWidget* modal = QApplication::activeModalWidget())
        delete modal;
    killLeftovers();
    QFile::remove(credentialsYamlPath());
    QDir(robotLocksDir()).removeRecursively();
}

ConnectDialogProbe& SimRig::open()
{
    window = std::make_unique<ConnectDialog>(nullptr);
    windowProbe = std::make_unique<ConnectDialogProbe>(window.get());
    return *windowProbe;
}

Workspace* SimRig::signIn()
{
    Workspace* ws = open().current();
    typeSignIn(ws->sessions.value(QString()), testWorkspace, testIdentity, testPassword);
    return QTest::qWaitFor([ws] { return rowItem(ws, QStringLiteral("r2")) != nullptr; }, 10000) ? ws : nullptr;
}

void SimRig::useScenario(const QString& text)
{
    const QString path = dir.filePath(QStringLiteral("scenario.txt"));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(text.toUtf8());
    qputenv("OXMEREL_SIM_SCENARIO", QFile::encodeName(path));
}

void SimRig::writeCredentials(const QString& yaml)
{
    QDir().mkpath(oxmerelHome());
    QFile file(credentialsYamlPath());
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(yaml.toUtf8());
}

QString SimRig::credentialsText()
{
    QFile file(credentialsYamlPath());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QList<QJsonObject> SimRig::records() const
{
    QList<QJsonObject> result;
    QFile file(recordPath);
    if (!file.open(QIODevice::ReadOnly))
        return result;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QJsonDocument doc = QJsonDocument::fromJson(line);
        if (doc.isObject())
            result.append(doc.object());
    }
    return result;
}

QList<QJsonObject> SimRig::starts(const QString& program) const
{
    QList<QJsonObject> result;
    const QList<QJsonObject> all = records();
    for (const QJsonObject& record : all) {
        if (record.contains(QStringLiteral("argv")) && record.value(QStringLiteral("program")).toString() == program)
            result.append(record);
    }
    return result;
}

QStringList SimRig::stdinOf(qint64 pid) const
{
    QStringList result;
    const QList<QJsonObject> all = records();
    for (const QJsonObject& record : all) {
        if (pidOf(record) == pid && record.contains(QStringLiteral("stdin")))
            result.append(record.value(QStringLiteral("stdin")).toString());
    }
    return result;
}

QStringList SimRig::argvOf(const QJsonObject& start)
{
    QStringList result;
    const QJsonArray argv = start.value(QStringLiteral("argv")).toArray();
    for (const QJsonValue& value : argv)
        result.append(value.toString());
    return result;
}

qint64 SimRig::pidOf(const QJsonObject& start)
{
    return start.value(QStringLiteral("pid")).toInteger();
}

bool SimRig::alive(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close > 0 && text.size() > close + 2 && text.at(close + 2) != 'Z';
}

void SimRig::killLeftovers() const
{
    const QList<QJsonObject> all = records();
    for (const QJsonObject& record : all) {
        const qint64 pid = pidOf(record);
        if (!record.contains(QStringLiteral("argv")) || pid <= 1 || !alive(pid))
            continue;
        // Each runtime leads its own process group; never signal ours.
        const pid_t group = getpgid(static_cast<pid_t>(pid));
        if (group == static_cast<pid_t>(pid) && group != getpgrp())
            ::kill(-group, SIGKILL);
        else
            ::kill(static_cast<pid_t>(pid), SIGKILL);
    }
}

QTreeWidgetItem* SimRig::rowItem(Workspace* ws, const QString& id)
{
    QTreeWidgetItem* root = ws->tree->topLevelItem(0);
    for (int i = 0; i < root->childCount(); ++i) {
        if (root->child(i)->data(0, Qt::UserRole).toString() == id)
            return root->child(i);
    }
    return nullptr;
}

TreeItem* SimRig::rowOf(Workspace* ws, const QString& id)
{
    QTreeWidgetItem* item = rowItem(ws, id);
    return item ? qobject_cast<TreeItem*>(ws->tree->itemWidget(item, 0)) : nullptr;
}

Session* SimRig::openRobot(Workspace* ws, const QString& id)
{
    ws->tree->setCurrentItem(rowItem(ws, id));
    return ws->sessions.value(id);
}

void SimRig::typeInto(QLineEdit* field, const QString& text)
{
    QTest::mouseClick(field, Qt::LeftButton);
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

void SimRig::typeSignIn(Session* s, const QString& workspace, const QString& identity, const QString& password)
{
    typeInto(s->workspaceEdit, workspace);
    typeInto(s->identityEdit, identity);
    typeInto(s->passwordEdit, password);
    QTest::mouseClick(s->signInButton, Qt::LeftButton);
}

bool SimRig::clickModalButton(const QString& text)
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal)
        return false;
    const QList<QPushButton*> buttons = modal->findChildren<QPushButton*>();
    for (QPushButton* button : buttons) {
        if (button->text() == text) {
            QTest::mouseClick(button, Qt::LeftButton);
            return true;
        }
    }
    return false;
}

QString SimRig::modalTexts()
{
    QStringList texts;
    if (QWidget* modal = QApplication::activeModalWidget()) {
        const QList<QLabel*> labels = modal->findChildren<QLabel*>();
        for (const QLabel* label : labels)
            texts.append(label->text());
    }
    return texts.join(QLatin1Char('|'));
}

QString signInScenario(const QString& afterConnected)
{
    return QStringLiteral("[oxmerel-runner]\n"
                          "print {\"status\":\"waiting_input\",\"msg\":\"Password\"}\n"
                          "expect\n"
                          "print {\"status\":\"logged_in\",\"workspace\":\"Acme\"}\n"
                          "print {\"status\":\"waiting_selection\",\"items\":[{\"id\":\"r1\",\"name\":\"Invoices\"},"
                          "{\"id\":\"r2\",\"name\":\"Reports\"}]}\n"
                          "expect\n"
                          "print {\"status\":\"connected\",\"level\":\"info\",\"msg\":\"connected ${LAST}\","
                          "\"time\":\"10:00:00\"}\n")
        + afterConnected + QStringLiteral("\n[oxmerel-agent]\nhang\n");
}
