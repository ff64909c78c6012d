#pragma once

#include <QMap>
#include <QMetaType>
#include <QModelIndex>
#include <QString>
#include <QStringList>

#include <memory>

class QAction;
class QHBoxLayout;
class QLabel;
class QMenu;
class QPushButton;
class QTreeWidgetItem;
class QWidget;
class QButton;
class TreeWidget;
struct Credential;
struct Session;

// One cloud workspace of the window. Owns its sessions and its credentials; does not own the sessions' process
// handlers, which are deliberately left alone on deletion.
struct Workspace {
    Workspace();
    ~Workspace();
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    QString getId() const { return id; }
    Credential* getCredentials() const { return credentials.get(); }
    // Takes `value` over; the credentials it replaces go.
    void setCredentials(Credential* value);

    QString name;
    QString currentRobotId;
    QWidget* page = nullptr;
    QHBoxLayout* layout = nullptr;
    TreeWidget* tree = nullptr;
    QMap<QString, Session*> sessions;
    QModelIndex rootIndex;
    QStringList robots;
    QString id;
    std::unique_ptr<Credential> credentials;
    QLabel* badge = nullptr;
    QMenu* menu = nullptr;
    QAction* signOutAction = nullptr;
    QAction* removeAction = nullptr;
    QTreeWidgetItem* selectedItem = nullptr;
    bool agentStarted = false;

    // The workspace's side button and the selection bar beside it.
    QButton* button = nullptr;
    QPushButton* selectionBar = nullptr;
};

Q_DECLARE_METATYPE(Workspace*)
