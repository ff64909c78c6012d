#pragma once

#include <QLabel>

class QAction;
class QMenu;

// The widget of a workspace's top ("ROBOTS") row, with the menu that connects or disconnects all its robots.
class TreeHeader : public QLabel
{
    Q_OBJECT

public:
    explicit TreeHeader(const QString& text);
    ~TreeHeader() override;

    const QString styleSheetText;
    QLabel* textLabel;
    QAction* connectAllAct;
    QAction* disconnectAllAct;
    QMenu* menu;

signals:
    void connectAction();
    void disconnectAction();

public slots:
    void connectClicked();
    void disconnectClicked();

private slots:
    void onContextMenu(QPoint point);
};
