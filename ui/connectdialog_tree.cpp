// Workspaces in the side column and each workspace's robots tree.
#include "connectdialog.h"
#include "ui_connectdialog.h"

#include "darkscrollbars.h"
#include "qbutton.h"
#include "robotinfo.h"
#include "session.h"
#include "treeheader.h"
#include "treeitem.h"
#include "treewidget.h"
#include "workspace.h"

#include <QAction>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSet>
#include <QTreeWidgetItem>

namespace {

const QString treeStyle = QStringLiteral(
    "QTreeWidget{padding: 0px 12px; font-size: 1em; color: #fff; border: 0; outline: 0; "
    "selection-background-color: transparent;  selection-color: transparent; show-decoration-selected: 1; "
    "background-color: transparent; } QTreeWidget::item{padding: 6px; margin: 1px; outline: 0; border-radius: 4px} "
    "QTreeWidget::item::hover{background-color: #34373c;} QTreeWidget::item::selected{background-color: #393c43;} ");

const QString menuStyle
    = QStringLiteral("QMenu::item{padding: 4px 8px;} QMenu::item:selected{background-color: #c0cdda}");

const QString badgeStyle = QStringLiteral(
    "QLabel{font-size: 1.2em; background-color: #ff5341; border-radius: 9px; color: #ecf2f5; max-width: 18px; "
    "max-height: 18px; position: absolute;} QToolTip{background: #2f3136; color: #ecf2f5; padding: 2px; border: 1px "
    "solid #202225;}");

const QString selectionBarStyle = QStringLiteral("background-color: #c0cdda; border-radius: 4px; "
                                                 "border-top-left-radius: 0; border-bottom-left-radius: 0");

QTreeWidgetItem* robotsItem(const Workspace* ws)
{
    return ws->tree->topLevelItem(0);
}

TreeItem* rowOf(const Workspace* ws, QTreeWidgetItem* item)
{
    return qobject_cast<TreeItem*>(ws->tree->rowWidget(item));
}

QString robotIdOf(const QTreeWidgetItem* item)
{
    return item->data(0, Qt::UserRole).toString();
}

QButton* makeWorkspaceButton()
{
    auto* button = new QButton(
        { QStringLiteral("#c0cdda"), QStringLiteral("#292b2f"), QStringLiteral("#2f3136"), QStringLiteral("#292b2f") },
        { QStringLiteral("#fff") }, { QStringLiteral("22px") }, QStringLiteral("transparent"),
        QStringLiteral("0px 14px 0px 0px"), QStringLiteral("4px"), QStringLiteral("36px"), QStringLiteral("36px"));
    button->setText(QCoreApplication::translate("ConnectDialog", "WS"));
    button->setContextMenuPolicy(Qt::CustomContextMenu);
    return button;
}

QPushButton* makeSelectionBar()
{
    auto* bar = new QPushButton();
    bar->setFixedSize(6, 24);
    // It only marks the current workspace: skipped by Tab, named for screen readers.
    bar->setFocusPolicy(Qt::NoFocus);
    bar->setAccessibleName(QCoreApplication::translate("ConnectDialog", "Current workspace"));
    bar->setStyleSheet(selectionBarStyle);
    QSizePolicy policy = bar->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    bar->setSizePolicy(policy);
    return bar;
}

} // namespace

Workspace* ConnectDialog::addConnect(int insertIndex)
{
    auto* ws = new Workspace();
    workspacesById.insert(ws->id, ws);
    workspaceOrder.append(ws->id);

    ws->layout = new QHBoxLayout();
    ws->layout->setSpacing(8);
    ws->layout->setContentsMargins(0, 0, 0, 0);
    ws->tree = new TreeWidget();
    ws->tree->setDragEnabled(false);
    styleScrollBars(ws->tree);

    auto* root = new QTreeWidgetItem(ws->tree);
    root->setFlags(root->flags() ^ Qt::ItemIsSelectable);
    root->setData(0, Qt::AccessibleTextRole, tr("Robots"));
    auto* header = new TreeHeader(tr("ROBOTS"));
    header->setEnabled(false);
    ws->tree->setRowWidget(root, header);
    connect(header, &TreeHeader::connectAction, this, [this, ws] { connectAll(ws); });
    connect(header, &TreeHeader::disconnectAction, this, [this, ws] { disconnectAll(ws); });

    auto* placeholder = new QTreeWidgetItem(root);
    root->setForeground(0, QBrush(QColor(0xC0CDDA)));
    placeholder->setData(0, Qt::AccessibleTextRole, tr("No robots listed yet"));
    auto* placeholderRow = new TreeItem(tr("Connect"));
    placeholderRow->setEnabled(false);
    ws->tree->setRowWidget(placeholder, placeholderRow);

    ws->tree->setContentsMargins(8, 8, 8, 8);
    ws->tree->setIndentation(8);
    ws->tree->expandAll();
    ws->tree->setStyleSheet(treeStyle + TreeItem::rowsStyleSheet());
    ws->tree->setFont(regularFont);
    ws->tree->setHeaderHidden(true);

    ws->rootIndex = ws->tree->indexFromItem(root);
    connect(ws->tree, &QTreeWidget::itemSelectionChanged, this, [this, ws] { robotSelectionChanged(ws); });
    const QModelIndex placeholderIndex = ws->tree->indexFromItem(placeholder);
    ws->tree->selectionModel()->select(placeholderIndex, QItemSelectionModel::ClearAndSelect);

    ws->button = makeWorkspaceButton();
    ws->menu = new QMenu(ws->button);
    ws->menu->setStyleSheet(menuStyle);
    ws->signOutAction = ws->menu->addAction(tr("Sign Out"));
    ws->signOutAction->setIconVisibleInMenu(false);
    ws->signOutAction->setEnabled(false);
    ws->removeAction = ws->menu->addAction(tr("Remove"));
    ws->removeAction->setIconVisibleInMenu(false);
    connect(ws->signOutAction, &QAction::triggered, this, [this, ws] { signOutWorkspace(ws); });
    connect(ws->removeAction, &QAction::triggered, this, [this, ws] { confirmRemoveWorkspace(ws); });
    connect(ws->button, &QWidget::customContextMenuRequested, ws->menu,
        [ws](const QPoint& pos) { ws->menu->exec(ws->button->mapToGlobal(pos)); });
    const QString id = ws->id;
    connect(ws->button, &QPushButton::clicked, this, [this, id] { handleWSClicked(id); });

    ws->selectionBar = makeSelectionBar();
    ws->layout->addWidget(ws->selectionBar);
    ws->layout->addWidget(ws->button);

    // The column ends with the spacer and the version text, which stay last.
    ws->page = new QWidget();
    ws->page->setContentsMargins(0, 0, 0, 0);
    ws->page->setLayout(ws->layout);
    ui->scroll_v_layout->insertWidget(insertIndex != -1 ? insertIndex : ui->scroll_v_layout->count() - 2, ws->page);

    ws->badge = new QLabel(ws->page);
    ws->badge->setText(QString());
    ws->badge->setFont(regularFont);
    ws->badge->move(44, 24);
    ws->badge->setStyleSheet(badgeStyle);
    ws->badge->setAlignment(Qt::AlignCenter);
    ws->badge->hide();

    createSession(ws, nullptr, placeholderIndex);

    ws->tree->hide();
    ui->ws_v_layout->addWidget(ws->tree);

    handleWSClicked(ws->id);
    return ws;
}

void ConnectDialog::handleWSClicked(QString workspace)
{
    Workspace* ws = workspacesById.value(workspace);
    if (!ws) {
        return;
    }
    if (currentWorkspace) {
        currentWorkspace->selectionBar->hide();
    }
    Session* s = ws->sessions.value(ws->currentRobotId);
    ws->selectionBar->show();
    ui->btn_workspace_name->setText(ws->name);

    if (shownTree && shownTree != ws->tree) {
        shownTree->hide();
    }
    ws->tree->show();
    shownTree = ws->tree;
    showSessionPage(ws, s);

    currentWorkspace = ws;
    ws->badge->setText(QString());
    ws->badge->setToolTip(QString());
    ws->badge->hide();
    ui->tabBarWidget->setVisible(ws->getCredentials() != nullptr);
    if (TreeItem* row = rowWidget(s)) {
        row->resetUnread();
    }
}

void ConnectDialog::robotSelectionChanged(Workspace* ws)
{
    const QList<QTreeWidgetItem*> selected = ws->tree->selectedItems();
    if (selected.isEmpty() || !(selected.first()->flags() & Qt::ItemIsSelectable)) {
        // The selection never rests on the "ROBOTS" row and never stays empty.
        if (ws->selectedItem) {
            ws->tree->setCurrentItem(ws->selectedItem, 0, QItemSelectionModel::ClearAndSelect);
        }
        return;
    }

    QTreeWidgetItem* item = selected.first();
    ws->selectedItem = item;
    TreeItem* row = rowOf(ws, item);
    const QString id = robotIdOf(item);
    const QString name = row ? row->nameLabel->text() : QString();
    if (id.isEmpty()) {
        return;
    }

    ws->currentRobotId = id;
    Session* s = ws->sessions.value(id);
    if (!s) {
        s = createSession(ws, new RobotInfo(id, name), ws->tree->indexFromItem(item));
    }
    if (row) {
        row->resetUnread();
    }
    if (ws == currentWorkspace) {
        showSessionPage(ws, s);
    }
}

void ConnectDialog::connectAll(Workspace* ws)
{
    QTreeWidgetItem* root = robotsItem(ws);
    // Selecting each row in turn gives every robot a session before any of them connects.
    for (int i = 0; i < root->childCount(); ++i) {
        ws->tree->setCurrentItem(root->child(i), 0, QItemSelectionModel::ClearAndSelect);
    }
    for (int i = 0; i < root->childCount(); ++i) {
        TreeItem* row = rowOf(ws, root->child(i));
        if (row && row->connectAct->isEnabled()) {
            row->connectAct->activate(QAction::Trigger);
        }
    }
}

void ConnectDialog::disconnectAll(Workspace* ws)
{
    QTreeWidgetItem* root = robotsItem(ws);
    for (int i = 0; i < root->childCount(); ++i) {
        TreeItem* row = rowOf(ws, root->child(i));
        if (row && row->disconnectAct->isEnabled()) {
            row->disconnectAct->activate(QAction::Trigger);
        }
    }
}

void ConnectDialog::confirmRemoveWorkspace(Workspace* ws)
{
    const QString id = ws->id;
    showConfirmDialog(2, tr("Remove Workspace"),
        tr("Workspace credentials and vault secrets will be removed from your machine. Do you want to continue?"),
        [this, id](bool yes) {
            Workspace* target = workspacesById.value(id);
            if (!yes || !target) {
                return;
            }
            removeWorkspace(target, true);
            if (workspaceOrder.isEmpty()) {
                handleWSClicked(addConnect()->id);
            }
        });
}

void ConnectDialog::mergeListedRobots(Workspace* ws, const QList<RobotInfo*>& robots)
{
    QSet<QString> listed;
    for (const RobotInfo* robot : robots) {
        listed.insert(robot->id);
    }
    // Rows are never deleted and a hidden row is never shown again; the placeholder has no id and hides here too.
    QTreeWidgetItem* root = robotsItem(ws);
    for (int i = 0; i < root->childCount(); ++i) {
        if (!listed.contains(robotIdOf(root->child(i)))) {
            root->child(i)->setHidden(true);
        }
    }
    for (RobotInfo* robot : robots) {
        if (!robotRow(ws, robot->id)) {
            addRobotRow(ws, robot);
        }
    }
    ws->tree->expandAll();

    // Connecting appends the id again, so only robots that still have a row stay remembered.
    const QStringList remembered = ws->robots;
    ws->robots.clear();
    for (const QString& id : remembered) {
        if (QTreeWidgetItem* item = robotRow(ws, id)) {
            if (TreeItem* row = rowOf(ws, item)) {
                row->connectAct->activate(QAction::Trigger);
            }
        }
    }
}

void ConnectDialog::addRobotRow(Workspace* ws, RobotInfo* robot)
{
    auto* item = new QTreeWidgetItem(robotsItem(ws));
    item->setData(0, Qt::UserRole, robot->id);
    auto* row = new TreeItem(robot->name);
    // Rows are item widgets, so the item carries what a screen reader says for the row.
    connect(row, &TreeItem::accessibleTextChanged, this,
        [item](const QString& text) { item->setData(0, Qt::AccessibleTextRole, text); });
    row->setConnected(false);
    if (isRobotLocked(robot->id)) {
        row->lockAct->activate(QAction::Trigger);
        row->setLocked(true);
    }

    // Sessions come and go with connections, so each signal looks the robot's session up when it arrives.
    const QString id = robot->id;
    connect(row, &TreeItem::connectAction, this, [this, ws, id, item] {
        Session* s = sessionOf(ws, id);
        doConnectRobot(s ? s : ws->sessions.value(QString()), id, ws->tree->indexFromItem(item));
    });
    connect(row, &TreeItem::disconnectAction, this, [this, ws, id] { doDisconnect(sessionOf(ws, id), false); });
    // The folder belongs to the robot, not its session: a disconnected robot's logs are the ones worth reading.
    const QString name = robot->name;
    connect(row, &TreeItem::logsAction, this, [ws, name] { openLogFolder(ws->name, name); });
    connect(row, &TreeItem::clearAction, this, [this, ws, id] { doClearLogs(sessionOf(ws, id)); });
    connect(row, &TreeItem::lockAction, this, [this, ws, id](bool locked) { doLockRobot(sessionOf(ws, id), locked); });
    ws->tree->setRowWidget(item, row);
}

void ConnectDialog::updateHeaderActions(Workspace* ws, bool signedIn)
{
    if (QWidget* header = ws->tree->rowWidget(robotsItem(ws))) {
        header->setEnabled(signedIn);
    }
    ws->signOutAction->setEnabled(signedIn);
    ws->removeAction->setEnabled(!signedIn);
}

void ConnectDialog::showSessionPage(Workspace* ws, Session* s)
{
    // A robot session is dropped on disconnect; its workspace then falls back to the sign-in page.
    Session* shown = s ? s : ws->sessions.value(QString());
    if (!shown || !shown->page) {
        return;
    }
    if (shownPage && shownPage != shown->page) {
        shownPage->hide();
    }
    shown->page->show();
    shownPage = shown->page;
    revealLogPane(shown);
}

QTreeWidgetItem* ConnectDialog::robotRow(Workspace* ws, const QString& robotId) const
{
    QTreeWidgetItem* root = robotsItem(ws);
    for (int i = 0; i < root->childCount(); ++i) {
        QTreeWidgetItem* item = root->child(i);
        // The placeholder row carries no id at all and is never a robot's row.
        if (item->data(0, Qt::UserRole).isValid() && robotIdOf(item) == robotId) {
            return item;
        }
    }
    return nullptr;
}

TreeItem* ConnectDialog::rowWidget(Session* s) const
{
    if (!s || !s->index.isValid()) {
        return nullptr;
    }
    QTreeWidgetItem* item = s->workspace->tree->itemFromIndex(s->index);
    return item ? rowOf(s->workspace, item) : nullptr;
}

Session* ConnectDialog::sessionOf(Workspace* ws, const QString& robotId) const
{
    return ws->sessions.value(robotId);
}
