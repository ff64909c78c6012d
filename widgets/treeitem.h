#pragma once

#include <QLabel>

class QAction;
class QMenu;

// The widget of one robot row: lock icon, name and unread badge, with the menu that drives the robot. The row only
// emits signals; its menu's enabling follows its own connect and disconnect actions.
class TreeItem : public QLabel
{
    Q_OBJECT

public:
    explicit TreeItem(const QString& name);
    ~TreeItem() override;

    void addUnread(int count);
    void resetUnread();
    int unreadCount() const;
    void setLocked(bool locked);
    // Shows the robot connected (white name) or not (grey), through the name label's `connected` property.
    void setConnected(bool connected);
    // What a screen reader says for the row: its name and state.
    QString accessibleText() const;
    static QString unreadText(int count);

    // The rules of the rows and their name labels, for the tree that holds them: a sheet of each row's own would be
    // parsed for that row alone and applied again to it and its labels whenever the row moves, which made a large
    // tree slow to fill and heavy in memory.
    static QString rowsStyleSheet();

    // Null until the row is first locked.
    QLabel* lockLabel = nullptr;
    QLabel* nameLabel;
    // Null until the first unread line.
    QLabel* badgeLabel = nullptr;
    QAction* connectAct;
    QAction* logsAct;
    QAction* clearAct;
    QAction* disconnectAct;
    QAction* lockAct;
    QMenu* menu;

signals:
    void connectAction();
    void logsAction();
    void clearAction();
    void disconnectAction();
    void lockAction(bool locked);
    void accessibleTextChanged(const QString& text);

public slots:
    // Each emits first and changes the enabling afterwards, so receivers still see the previous state.
    void connectClicked();
    void logsClicked();
    void clearClicked();
    void disconnectClicked();
    void lockClicked();

private slots:
    void onContextMenu(QPoint point);

private:
    void buildLabels(const QString& name);
    void createLockLabel();
    void createBadgeLabel();
    void buildMenu();
    void setConnectedActions(bool connected);
    void announceState();

    int unread = 0;
};
