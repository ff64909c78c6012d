#include "repolish.h"
#include "treeheader.h"
#include "treeitem.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <functional>

namespace {

QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts << action->text();
    return texts;
}

QList<bool> enabledStates(const QMenu* menu)
{
    QList<bool> states;
    for (const QAction* action : menu->actions())
        states << action->isEnabled();
    return states;
}

// Right-clicks the row and hands the popup menu that opens to inspect, which must close it.
void withContextMenu(QWidget* row, const std::function<void(QMenu*)>& inspect)
{
    bool opened = false;
    // A timer of this scope, so that it cannot fire after the function when no menu opened.
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, row, [&] {
        auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        opened = popup != nullptr;
        if (popup)
            inspect(popup);
    });
    timer.start(0);
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), row->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(row, &event);
    QVERIFY(opened);
}

// Clicks the entry with the given text in an open menu, as a user picks it.
void pick(QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions()) {
        if (action->text() == text) {
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            return;
        }
    }
    QFAIL(qPrintable(QStringLiteral("no menu entry ") + text));
}

} // namespace

class TestTreeRows final : public QObject
{
    Q_OBJECT

private slots:
    void menuFollowsConnectAndDisconnect();
    void lockTogglesTextAndSignal();
    void badgeCapsItsTextButNotItsToolTip();
    void connectedPropertyColoursTheName();
    void headerMenuConnectsAndDisconnectsAll();
};

void TestTreeRows::menuFollowsConnectAndDisconnect()
{
    TreeItem row(QStringLiteral("Invoices"));
    QCOMPARE(actionTexts(row.menu),
        QStringList({ QStringLiteral("Connect"), QStringLiteral("Logs"), QStringLiteral("Clear"),
            QStringLiteral("Disconnect"), QStringLiteral("Lock") }));
    row.resize(200, 24);
    row.show();
    QVERIFY(QTest::qWaitForWindowExposed(&row));
    QSignalSpy logs(&row, &TreeItem::logsAction);
    QSignalSpy clears(&row, &TreeItem::clearAction);
    // Receivers still see the previous enabling while the signal is delivered.
    QList<bool> seen;
    connect(&row, &TreeItem::connectAction, &row, [&] { seen << row.connectAct->isEnabled(); });
    connect(&row, &TreeItem::disconnectAction, &row, [&] { seen << row.disconnectAct->isEnabled(); });

    withContextMenu(&row, [](QMenu* menu) {
        QCOMPARE(enabledStates(menu), QList<bool>({ true, true, false, false, true }));
        pick(menu, QStringLiteral("Connect"));
    });
    withContextMenu(&row, [](QMenu* menu) {
        QCOMPARE(enabledStates(menu), QList<bool>({ false, true, true, true, true }));
        pick(menu, QStringLiteral("Logs"));
    });
    QCOMPARE(logs.count(), 1);
    row.clearAct->activate(QAction::Trigger);
    QCOMPARE(clears.count(), 1);

    row.disconnectAct->activate(QAction::Trigger);
    QCOMPARE(enabledStates(row.menu), QList<bool>({ true, true, false, false, true }));
    QCOMPARE(seen, QList<bool>({ true, true }));
    // A disabled entry does nothing when triggered.
    row.clearAct->activate(QAction::Trigger);
    QCOMPARE(clears.count(), 1);
}

void TestTreeRows::lockTogglesTextAndSignal()
{
    TreeItem row(QStringLiteral("Invoices"));
    QSignalSpy locks(&row, &TreeItem::lockAction);
    row.lockAct->activate(QAction::Trigger);
    QCOMPARE(row.lockAct->text(), QStringLiteral("Unlock"));
    row.lockAct->activate(QAction::Trigger);
    QCOMPARE(row.lockAct->text(), QStringLiteral("Lock"));
    QCOMPARE(locks.count(), 2);
    QCOMPARE(locks.at(0).at(0).toBool(), true);
    QCOMPARE(locks.at(1).at(0).toBool(), false);

    // The icon is the caller's business, apart from the action.
    QVERIFY(row.lockLabel->isHidden());
    row.setLocked(true);
    QVERIFY(!row.lockLabel->isHidden());
    QVERIFY(!row.lockAct->isChecked());
    QCOMPARE(row.lockLabel->pixmap().size(), QSize(16, 16));
}

void TestTreeRows::badgeCapsItsTextButNotItsToolTip()
{
    TreeItem row(QString {});
    QVERIFY(row.badgeLabel->isHidden());
    row.addUnread(0);
    QVERIFY(!row.badgeLabel->isHidden());
    QCOMPARE(row.badgeLabel->toolTip(), QStringLiteral("0 new messages"));

    for (int i = 0; i < 9; ++i)
        row.addUnread(1);
    QCOMPARE(row.badgeLabel->text(), QStringLiteral("9"));
    row.addUnread(1);
    QCOMPARE(row.badgeLabel->text(), QStringLiteral("9+"));
    QCOMPARE(row.badgeLabel->toolTip(), QStringLiteral("10 new messages"));
    row.addUnread(2);
    QCOMPARE(row.unreadCount(), 12);
    QCOMPARE(row.badgeLabel->toolTip(), QStringLiteral("12 new messages"));

    row.resetUnread();
    QVERIFY(row.badgeLabel->isHidden());
    QVERIFY(row.badgeLabel->toolTip().isEmpty());
    row.addUnread(1);
    QCOMPARE(row.badgeLabel->text(), QStringLiteral("1"));

    // An empty name keeps the lock and badge in their places.
    row.setLocked(true);
    row.resize(200, 24);
    row.show();
    QVERIFY(row.lockLabel->x() < row.nameLabel->x() && row.nameLabel->x() < row.badgeLabel->x());
}

void TestTreeRows::connectedPropertyColoursTheName()
{
    TreeItem row(QStringLiteral("Invoices"));
    row.show();
    const auto nameColour = [&] { return row.nameLabel->palette().color(row.nameLabel->foregroundRole()); };
    QCOMPARE(nameColour(), QColor(QStringLiteral("#fff")));
    row.nameLabel->setProperty("connected", false);
    repolish(row.nameLabel);
    QCOMPARE(nameColour(), QColor(QStringLiteral("#8e9297")));
    row.nameLabel->setProperty("connected", true);
    repolish(row.nameLabel);
    QCOMPARE(nameColour(), QColor(QStringLiteral("#fff")));
}

void TestTreeRows::headerMenuConnectsAndDisconnectsAll()
{
    TreeHeader header(QStringLiteral("ROBOTS"));
    header.resize(200, 24);
    header.show();
    QVERIFY(QTest::qWaitForWindowExposed(&header));
    QList<int> order;
    connect(&header, &TreeHeader::connectAction, &header, [&] { order << 1; });
    connect(&header, &TreeHeader::disconnectAction, &header, [&] { order << 2; });
    withContextMenu(&header, [](QMenu* menu) {
        QCOMPARE(actionTexts(menu), QStringList({ QStringLiteral("Connect All"), QStringLiteral("Disconnect All") }));
        pick(menu, QStringLiteral("Disconnect All"));
    });
    withContextMenu(&header, [](QMenu* menu) { pick(menu, QStringLiteral("Connect All")); });
    QCOMPARE(order, QList<int>({ 2, 1 }));
}

QTEST_MAIN(TestTreeRows)
#include "test_treerows.moc"
