#include "treeitem.h"

#include "repolish.h"
#include "treerow.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QPixmap>

namespace {

// The name label's rules sit beside the row's, picked by the label's object name.
const QString nameStyle = QStringLiteral(
    "QLabel#name{background-color: transparent; color: #fff; text-align: left; font-size: 1em; border: 0; outline: 0;} "
    "QLabel#name[connected=\"true\"]{color: #fff;} QLabel#name[connected=\"false\"]{color: #8e9297;}");

const QString badgeStyle
    = QStringLiteral("QLabel{background-color: #ff5341; border-radius: 10px; color: #ecf2f5; max-width: 20px;} "
                     "QToolTip{background: #2f3136; color: #ecf2f5; padding: 2px; border: 1px solid #202225;}");

} // namespace

TreeItem::TreeItem(const QString& name)
    : QLabel(nullptr)
    , nameLabel(new QLabel())
    , menu(nullptr)
{
    buildLabels(name);
    buildMenu();
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &TreeItem::onContextMenu);
}

QString TreeItem::rowsStyleSheet()
{
    return treerow::rowStyleSheet + QLatin1Char(' ') + nameStyle;
}

TreeItem::~TreeItem()
{
    delete menu;
    for (QAction* action : { connectAct, logsAct, clearAct, disconnectAct, lockAct })
        delete action;
}

void TreeItem::buildLabels(const QString& name)
{
    nameLabel->setObjectName(QStringLiteral("name"));
    nameLabel->setText(name);
    nameLabel->setFont(treerow::rowFont());
    treerow::installRowLayout(this)->addWidget(nameLabel);
}

// The lock icon and the badge are hidden in most rows for good; each is made when first shown, since every widget in
// the tree is styled and polished, hidden or not.
void TreeItem::createLockLabel()
{
    lockLabel = new QLabel();
    lockLabel->setPixmap(
        QPixmap(QStringLiteral(":/images/lock.png")).scaled(16, 16, Qt::IgnoreAspectRatio, Qt::FastTransformation));
    lockLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    lockLabel->setFixedWidth(16);
    lockLabel->setToolTip(tr("Locked"));
    lockLabel->setAccessibleName(tr("Locked"));
    lockLabel->hide();
    static_cast<QHBoxLayout*>(layout())->insertWidget(0, lockLabel);
}

void TreeItem::createBadgeLabel()
{
    badgeLabel = new QLabel(QStringLiteral("0"));
    badgeLabel->setFont(treerow::rowFont());
    badgeLabel->setStyleSheet(badgeStyle);
    badgeLabel->setAlignment(Qt::AlignCenter);
    badgeLabel->hide();
    layout()->addWidget(badgeLabel);
}

void TreeItem::buildMenu()
{
    connectAct = treerow::createMenuAction(tr("Connect"));
    logsAct = treerow::createMenuAction(tr("Logs"));
    clearAct = treerow::createMenuAction(tr("Clear"));
    disconnectAct = treerow::createMenuAction(tr("Disconnect"));
    lockAct = treerow::createMenuAction(tr("Lock"));
    lockAct->setCheckable(true);
    setConnectedActions(false);

    connect(connectAct, &QAction::triggered, this, &TreeItem::connectClicked);
    connect(logsAct, &QAction::triggered, this, &TreeItem::logsClicked);
    connect(clearAct, &QAction::triggered, this, &TreeItem::clearClicked);
    connect(disconnectAct, &QAction::triggered, this, &TreeItem::disconnectClicked);
    connect(lockAct, &QAction::triggered, this, &TreeItem::lockClicked);
}

// "Clear" is only offered while the robot counts as connected.
void TreeItem::setConnectedActions(bool connected)
{
    connectAct->setEnabled(!connected);
    clearAct->setEnabled(connected);
    disconnectAct->setEnabled(connected);
}

void TreeItem::connectClicked()
{
    emit connectAction();
    setConnectedActions(true);
}

void TreeItem::logsClicked()
{
    emit logsAction();
}

void TreeItem::clearClicked()
{
    emit clearAction();
}

void TreeItem::disconnectClicked()
{
    emit disconnectAction();
    setConnectedActions(false);
}

void TreeItem::lockClicked()
{
    const bool locked = lockAct->isChecked();
    lockAct->setText(locked ? tr("Unlock") : tr("Lock"));
    emit lockAction(locked);
}

void TreeItem::onContextMenu(QPoint point)
{
    if (!menu)
        menu = treerow::createMenu({ connectAct, logsAct, clearAct, disconnectAct, lockAct });
    menu->exec(mapToGlobal(point));
}

void TreeItem::addUnread(int count)
{
    unread += count;
    if (!badgeLabel)
        createBadgeLabel();
    badgeLabel->setText(unread > 9 ? QStringLiteral("9+") : QString::number(unread));
    badgeLabel->show();
    badgeLabel->setToolTip(tr("%1 new messages").arg(unread));
    badgeLabel->setAccessibleName(unreadText(unread));
}

void TreeItem::resetUnread()
{
    unread = 0;
    if (!badgeLabel)
        return;
    badgeLabel->setText(QStringLiteral("0"));
    badgeLabel->setToolTip(QString());
    badgeLabel->setAccessibleName(unreadText(0));
    badgeLabel->hide();
}

int TreeItem::unreadCount() const
{
    return unread;
}

void TreeItem::setLocked(bool locked)
{
    if (!lockLabel && !locked)
        return;
    if (!lockLabel)
        createLockLabel();
    lockLabel->setVisible(locked);
    announceState();
}

void TreeItem::setConnected(bool connected)
{
    nameLabel->setProperty("connected", connected);
    repolish(nameLabel);
    announceState();
}

QString TreeItem::accessibleText() const
{
    QString text = nameLabel->text() + QStringLiteral(", ")
        + (nameLabel->property("connected").toBool() ? tr("connected") : tr("idle"));
    if (lockLabel && !lockLabel->isHidden())
        text += QStringLiteral(", ") + tr("locked");
    return text;
}

QString TreeItem::unreadText(int count)
{
    return count == 1 ? tr("1 unread line") : tr("%1 unread lines").arg(count);
}

void TreeItem::announceState()
{
    const QString text = accessibleText();
    if (text == accessibleName())
        return;
    // Naming the row tells assistive technology that its state changed.
    setAccessibleName(text);
    emit accessibleTextChanged(text);
}
