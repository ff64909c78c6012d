#pragma once

#include "robotinfo.h"

#include <QMetaType>
#include <QModelIndex>
#include <QStringList>

#include <memory>

class QCheckBox;
class QLineEdit;
class QWidget;
class QLoadingButton;
class LogAppender;
class LogView;
class ProcHandler;
struct Workspace;

// One view inside a workspace: the sign-in form (empty robot id) or one robot. Owns its robot record; the widgets
// belong to their Qt parents and the handlers to the window.
struct Session {
    explicit Session(Workspace* owner)
        : workspace(owner)
    { }

    Workspace* workspace;
    ProcHandler* runner = nullptr;
    ProcHandler* agent = nullptr;
    QWidget* connectWidget = nullptr;
    QLineEdit* workspaceEdit = nullptr;
    QLineEdit* identityEdit = nullptr;
    QLineEdit* passwordEdit = nullptr;
    QLoadingButton* signInButton = nullptr;
    bool noDesignerAttach = false;
    bool sendCrashDump = true;
    std::unique_ptr<RobotInfo> robot;
    QModelIndex index;
    bool connected = false;
    LogView* logView = nullptr;
    bool searchWholeWords = false;
    bool searchCaseSensitive = false;

    // The page shown on the right for this session, and the parts of it that change with the robot's state.
    QWidget* page = nullptr;
    QWidget* logPage = nullptr;
    QWidget* offlineWidget = nullptr;
    QLineEdit* searchEdit = nullptr;
    QCheckBox* sendCrashDumpBox = nullptr;
    QCheckBox* noDesignerAttachBox = nullptr;
    LogAppender* logQueue = nullptr;
    // Whether the page shows the log pane rather than a form, and the lines (with their levels) that came before it
    // was built.
    bool showsLog = false;
    QStringList earlyLines;
    QStringList earlyLevels;
};

Q_DECLARE_METATYPE(Session*)
