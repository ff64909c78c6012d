// Session pages and the sign-in flow: the factory that builds a session with its sign-in pane, validation of the
// form, starting the runtime and the runner's answers until the robots are listed.
#include "connectdialog.h"
#include "ui_connectdialog.h"

#include "credential.h"
#include "prochandler.h"
#include "qbutton.h"
#include "qloadingbutton.h"
#include "returnkeyguard.h"
#include "robotinfo.h"
#include "runtimecommand.h"
#include "session.h"
#include "treewidget.h"
#include "workspace.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSpacerItem>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

const QString cloudDomain = QStringLiteral("oxmerel.cloud");

const QString fieldLabelStyle = QStringLiteral("color: #fff; font-size: 1.1em; min-width: 96px; margin-top: 0px");

// The three field sheets differ slightly (spaces, the tool-tip block); they are kept exactly as they are.
const QString workspaceFieldStyle = QStringLiteral(
    "QLineEdit{font-size: 1em; color: #fff; background-color: #40444b; padding: 4px; border: 1px solid #32353b; "
    "border-radius: 4px;  min-width: 180px;} QToolTip { background: #2f3136; color: #ecf2f5; padding: 2px; border: "
    "1px solid #202225; } QLineEdit[text=\"\"]{color: #c0cdda }");
const QString identityFieldStyle = QStringLiteral(
    "QLineEdit{ font-size: 1em; color: #fff; background-color: #40444b; padding: 4px; border: 1px solid #32353b; "
    "border-radius: 4px; min-width: 180px;} QLineEdit[text=\"\"]{color: #c0cdda}");
const QString passwordFieldStyle = QStringLiteral(
    "QLineEdit{font-size: 1em; color: #fff; background-color: #40444b; padding: 4px; border: 1px solid #32353b; "
    "border-radius: 4px;  min-width: 180px;} QLineEdit[text=\"\"]{color: #c0cdda}");

const QRegularExpression workspacePattern(
    QStringLiteral("^[a-zA-Z0-9]+[a-zA-Z0-9_+-]*\\.[a-zA-Z]+[a-zA-Z0-9_+-]*(\\.*[a-zA-Z0-9])*$"));
const QRegularExpression identityPattern(QStringLiteral("^[a-zA-Z0-9_.+-]+@[a-zA-Z0-9-]+\\.[a-zA-Z0-9-.]+$"));

constexpr int fieldMaxLength = 128;

QLineEdit* makeField(const QFont& font, const QString& styleSheet, const QString& placeholder)
{
    auto* field = new QLineEdit;
    field->setFont(font);
    field->setStyleSheet(styleSheet);
    field->setMaxLength(fieldMaxLength);
    field->setPlaceholderText(placeholder);
    return field;
}

QLabel* makeFieldLabel(const QFont& font, const QString& text, const QString& styleSheet)
{
    auto* label = new QLabel(text);
    label->setFont(font);
    label->setStyleSheet(styleSheet);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

QSpacerItem* verticalSpacer()
{
    return new QSpacerItem(20, 40, QSizePolicy::Minimum, QSizePolicy::Expanding);
}

} // namespace

Session* ConnectDialog::createSession(Workspace* ws, RobotInfo* robot, const QModelIndex& index)
{
    releaseDroppedPages();
    auto* s = new Session(ws);
    s->robot.reset(robot ? robot : new RobotInfo(QString(), QString()));
    s->index = index;
    ws->sessions.insert(s->robot->id, s);

    s->page = new QWidget;
    auto* pageLayout = new QVBoxLayout(s->page);
    pageLayout->setContentsMargins(0, 0, 0, 0);
    pageLayout->setSpacing(0);
    s->page->installEventFilter(new ReturnKeyGuard(s->page));

    buildSignInPane(s);
    // A workspace's own session shows its "no robots connected" page only once signed in, so it is built then.
    if (s->robot->id.isEmpty()) {
        showPageContent(s, s->connectWidget);
    } else {
        buildRobotPage(s);
        showPageContent(s, s->offlineWidget);
    }

    s->page->hide();
    ui->inner_h_layout_2->addWidget(s->page);
    return s;
}

void ConnectDialog::showPageContent(Session* s, QWidget* content)
{
    s->showsLog = false;
    for (QWidget* part : { s->connectWidget, s->offlineWidget, s->logPage }) {
        if (part)
            part->setVisible(part == content);
    }
}

void ConnectDialog::buildSignInPane(Session* s)
{
    s->connectWidget = new QWidget;
    s->connectWidget->setProperty("class", QStringLiteral("connect_widget"));
    s->connectWidget->setStyleSheet(QStringLiteral("QWidget{background-color: #36393f; padding: 4px}"));

    auto* grid = new QGridLayout(s->connectWidget);
    grid->setContentsMargins(0, 0, 0, 0);
    auto* column = new QVBoxLayout;
    column->setContentsMargins(0, 0, 0, 0);
    grid->addLayout(column, 0, 0);

    auto* logo = new QLabel;
    logo->setPixmap(QPixmap(QStringLiteral(":/images/oxmerel-logo-alt.png")));
    logo->setAlignment(Qt::AlignCenter);
    logo->setStyleSheet(QStringLiteral("margin: 2px; margin-bottom: 32px;"));

    s->workspaceEdit = makeField(regularFont, workspaceFieldStyle, tr("Enter your workspace"));
    s->workspaceEdit->setToolTip(tr("your_workspace.%1").arg(cloudDomain));
    s->identityEdit = makeField(regularFont, identityFieldStyle, tr("Enter your email"));
    s->passwordEdit = makeField(regularFont, passwordFieldStyle, tr("Enter your password"));
    s->passwordEdit->setEchoMode(QLineEdit::Password);

    s->signInButton = new QLoadingButton(
        { QStringLiteral("#8e9297"), QStringLiteral("#3ba55d"), QStringLiteral("#328c4f"), QStringLiteral("#45bf6c") },
        { QStringLiteral("#36393f"), QStringLiteral("#ecf2f5") }, { QStringLiteral("6px") },
        QStringLiteral("transparent"), QStringLiteral("0px"), QStringLiteral("8px 16px"), QStringLiteral("64px"),
        QStringLiteral("0px"));
    s->signInButton->setText(tr("Sign In"));
    s->signInButton->setEnabled(false);
    s->signInButton->setGif(QStringLiteral(":/images/loading.gif"));
    // Enter in a field signs in through submitFromKeyboard alone; the dialog must not pick this button as default.
    s->signInButton->setAutoDefault(false);

    auto* buttonRow = new QWidget;
    buttonRow->setMinimumHeight(64);
    auto* buttonLayout = new QHBoxLayout(buttonRow);
    buttonLayout->setSpacing(0);
    buttonLayout->setContentsMargins(0, 0, 0, 0);
    buttonLayout->addItem(new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum));
    buttonLayout->addWidget(s->signInButton);

    auto* form = new QFormLayout;
    form->setVerticalSpacing(12);
    form->setHorizontalSpacing(24);
    form->setFormAlignment(Qt::AlignHCenter | Qt::AlignTop);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->addRow(makeFieldLabel(regularFont, tr("Workspace"),
                     QStringLiteral("color: #fff; font-size: 1.1em; min-width: 96px; margin-top: 0px;")),
        s->workspaceEdit);
    form->addRow(makeFieldLabel(regularFont, tr("Username"), fieldLabelStyle), s->identityEdit);
    form->addRow(makeFieldLabel(regularFont, tr("Password"), fieldLabelStyle), s->passwordEdit);
    form->addRow(new QLabel, buttonRow);

    column->addItem(verticalSpacer());
    column->addWidget(logo);
    column->addLayout(form);
    column->addItem(verticalSpacer());

    for (QLineEdit* field : { s->workspaceEdit, s->identityEdit, s->passwordEdit }) {
        connect(field, &QLineEdit::textChanged, this, [this, field] { validateField(field); });
        connect(field, &QLineEdit::returnPressed, this, &ConnectDialog::submitFromKeyboard);
    }
    connect(s->signInButton, &QPushButton::clicked, this, [this, s] { handleConnect(s, QString()); });

    s->page->layout()->addWidget(s->connectWidget);
}

Session* ConnectDialog::currentSession() const
{
    return currentWorkspace ? currentWorkspace->sessions.value(currentWorkspace->currentRobotId) : nullptr;
}

void ConnectDialog::validateField(QLineEdit* field)
{
    // The polish runs before the new value is computed, so the style shows the previous run's result.
    field->style()->polish(field);

    Session* s = currentSession();
    if (!s)
        return;
    if (field == s->workspaceEdit)
        field->setProperty("valid", workspacePattern.match(field->text()).hasMatch());
    if (field == s->identityEdit)
        field->setProperty("valid", identityPattern.match(field->text()).hasMatch());

    const bool formValid = s->workspaceEdit->property("valid").toBool() && s->identityEdit->property("valid").toBool()
        && s->passwordEdit->text().length() > 6;
    s->signInButton->setEnabled(formValid);
}

void ConnectDialog::submitFromKeyboard()
{
    Session* s = currentSession();
    if (!s)
        return;
    const QString typed = s->workspaceEdit->text();
    if (!typed.contains(QLatin1Char('.')))
        s->workspaceEdit->setText(QString(QStringLiteral("%1.") + cloudDomain).arg(typed));
    if (s->signInButton->isEnabled())
        s->signInButton->click();
}

void ConnectDialog::handleConnect(Session* session, QString robotId)
{
    Workspace* holder = workspacesByName[session->workspaceEdit->text()];
    if (holder && holder != session->workspace) {
        showMessageDialog(0, tr("Already connected"), tr("This workspace is already connected."));
        return;
    }

    session->signInButton->setEnabled(false);
    session->signInButton->setText(QString());
    session->signInButton->start();

    releaseHandlers(session);
    session->runner = new ProcHandler(this, 2);
    session->agent = new ProcHandler(this, 1);
    if (!robotId.isEmpty()) {
        session->runner->setRobotId(robotId);
        session->agent->setRobotId(robotId);
    }

    ProcHandler* runner = session->runner;
    connect(runner, &ProcHandler::receivedLog, this,
        [this, session](
            const QString& time, const QString& level, const QString& msg) { receivedLog(session, time, level, msg); });
    connect(runner, &ProcHandler::robotSelected, this,
        [this, session](RobotInfo* robot) { robotSelected(session, robot); });
    connect(runner, &ProcHandler::robotsListed, this,
        [this, session](const QList<RobotInfo*>& robots) { robotsListed(session, robots); });
    connect(
        runner, &ProcHandler::loggedIn, this, [session](const QString& wsName) { session->workspace->name = wsName; });
    connect(runner, &ProcHandler::robotConnected, this,
        [this, session](RobotInfo* robot) { robotConnected(session, robot); });
    connect(runner, &ProcHandler::authFailed, this, [this, session] { authFailed(session); });
    connect(runner, &ProcHandler::onExit, this,
        [this, session](int exitCode, QProcess::ExitStatus exitStatus) { robotExited(session, exitCode, exitStatus); });

    startRuntime(session);
}

void ConnectDialog::startRuntime(Session* s)
{
    const QString workspace = s->workspaceEdit->text();
    const QString identity = s->identityEdit->text();
    const QString password = s->passwordEdit->text();
    s->workspace->setCredentials(new Credential(workspace, identity, password));
    s->runner->setPassword(password);
    s->agent->setPassword(password);
    s->runner->start(runnerProgram(),
        runnerArguments(identity, workspace, isRobotLocked(s->robot->id), s->noDesignerAttach, s->sendCrashDump));
}

void ConnectDialog::stopBusy(Session* s)
{
    s->signInButton->stop();
    s->signInButton->setText(tr("Sign In"));
    s->signInButton->setEnabled(true);
}

void ConnectDialog::authFailed(Session* session)
{
    stopBusy(session);
    if (!messageOpen)
        showMessageDialog(0, tr("Connection failed"), tr("Please check your credentials and try again."));
}

void ConnectDialog::robotSelected(Session* session, RobotInfo* robot)
{
    Workspace* ws = session->workspace;
    ws->setCredentials(
        new Credential(session->workspaceEdit->text(), session->identityEdit->text(), session->passwordEdit->text()));
    if (!robot) {
        stopBusy(session);
        return;
    }
    // A robot session's form is never on screen; its animation would otherwise tick for as long as the robot runs.
    session->signInButton->stop();
    if (ws == currentWorkspace)
        ui->btn_workspace_name->setText(ws->name);

    QTreeWidgetItem* root = ws->tree->itemFromIndex(ws->rootIndex);
    for (int i = 0; root && i < root->childCount(); ++i) {
        QTreeWidgetItem* row = root->child(i);
        if (row->data(0, Qt::UserRole).toString() == robot->id) {
            ws->tree->selectionModel()->select(ws->tree->indexFromItem(row), QItemSelectionModel::ClearAndSelect);
            row->setForeground(0, QBrush(QColor(QStringLiteral("#52b05c"))));
            break;
        }
    }
}

void ConnectDialog::robotsListed(Session* session, QList<RobotInfo*> robots)
{
    Workspace* ws = session->workspace;
    stopBusy(session);
    updateHeaderActions(ws, true);
    workspacesByName[session->workspaceEdit->text()] = ws;

    ws->button->setText(ws->name.left(2).toUpper());
    ws->button->setToolTip(ws->name);
    ws->button->setAccessibleName(ws->name);
    if (ws == currentWorkspace)
        ui->btn_workspace_name->setText(ws->name);
    // Signed in: the form gives way to the "no robots connected" placeholder.
    if (session->robot->id.isEmpty()) {
        if (!session->offlineWidget)
            buildRobotPage(session);
        showPageContent(session, session->offlineWidget);
    }

    mergeListedRobots(ws, robots);

    session->runner->stop();
    session->agent->setPassword(ws->credentials->password);
    if (!ws->agentStarted) {
        ws->agentStarted = true;
        session->agent->start(agentProgram(), agentArguments(ws->credentials->identity, ws->credentials->workspace));
    }
}
