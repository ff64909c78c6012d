#include "connectdialog.h"
#include "ui_connectdialog.h"

#include "appglobals.h"
#include "applicationfonts.h"
#include "focusring.h"
#include "keyboardnavigation.h"
#include "launchoptions.h"
#include "messagedialog.h"
#include "prochandler.h"
#include "qbutton.h"
#include "qgrip.h"
#include "runtimeprompts.h"
#include "session.h"
#include "titlebar.h"
#include "workspace.h"

#include <QCoreApplication>
#include <QIcon>
#include <QPixmap>

ConnectDialog::ConnectDialog(QObject* tray)
    : QDialog(nullptr)
    , ui(new Ui::ConnectDialog)
{
    // Frame and background before any child exists: changing them later re-creates the window and restyles every
    // child again.
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowFlags(Qt::FramelessWindowHint);
    // The form itself gives its panes their final sheets, each before the pane has children: a sheet set on a built
    // pane restyles every widget under it.
    ui->setupUi(this);
    shownTree = ui->treeView;
    shownPage = ui->ws_widget;
    if (tray)
        connect(this, SIGNAL(minimizeToTray()), tray, SLOT(minimizedToTray()));

    semiBoldFont = ApplicationFonts::font(QStringLiteral(":/fonts/Poppins-SemiBold.ttf"));
    semiBoldFont.setStyleStrategy(QFont::PreferAntialias);
    regularFont = ApplicationFonts::font(QStringLiteral(":/fonts/Poppins-Regular.ttf"));
    ui->btn_workspace_name->setFont(semiBoldFont);

    auto* titlebar = new Titlebar(this);
    ui->v_layout->insertWidget(0, titlebar);

    auto* addButton = new QButton(
        { QStringLiteral("#c0cdda"), QStringLiteral("#343a41"), QStringLiteral("#45bf6c"), QStringLiteral("#45bf6c") },
        { QStringLiteral("#fff") }, { QStringLiteral("22px") }, QStringLiteral("transparent"),
        QStringLiteral("0px 14px"), QStringLiteral("4px"), QStringLiteral("36px"), QStringLiteral("36px"));
    addButton->setIcon(QIcon(QPixmap(QStringLiteral(":/images/add_icon_24x24.png"))));
    addButton->setToolTip(tr("Add Workspace"));
    addButton->setAccessibleName(tr("Add Workspace"));
    connect(addButton, SIGNAL(onClicked()), this, SLOT(addConnect()));
    ui->scroll_v_layout->insertWidget(0, addButton);

    // Runtime prompts raised while reading a child's output are shown as this window's own warnings. They use a flag
    // of their own so that they never hold back, or are held back by, the sign-in messages.
    RuntimePrompts::setWarningHook([this](const QString& title, const QString& text) {
        MessageDialog::showMessage(semiBoldFont, regularFont, &warningOpen, 2, title, text);
    });

    loadWorkspaces(isAutoStartLaunch(QCoreApplication::arguments()));

    ui->tabBarWidget->setVisible(false);
    ui->gridLayout->setSpacing(0);

    const QString gripFill = QStringLiteral("#40444b");
    const QString gripBorder = QStringLiteral("#202225");
    ui->top_h_layout->addWidget(new QGrip(2, 4, gripFill, gripBorder));
    ui->top_h_layout->addWidget(new QGrip(0, 0, gripFill, gripBorder));
    ui->top_h_layout->addWidget(new QGrip(2, 5, gripFill, gripBorder));
    ui->left_v_layout->addWidget(new QGrip(1, 3, gripFill, gripBorder));
    ui->right_v_layout->addWidget(new QGrip(1, 1, gripFill, gripBorder));
    ui->bottom_h_layout->addWidget(new QGrip(2, 6, gripFill, gripBorder));
    ui->bottom_h_layout->addWidget(new QGrip(0, 2, gripFill, gripBorder));
    ui->bottom_h_layout->addWidget(new QGrip(2, 7, gripFill, gripBorder));

    ui->versionText->setText(appVersion);

    new KeyboardNavigation(this, { ui->scrollWidget, ui->tabBarWidget, nullptr, titlebar }, ui->scrollWidget);
    FocusRing::install();

    show();
}

ConnectDialog::~ConnectDialog()
{
    RuntimePrompts::setWarningHook(nullptr);
    qDeleteAll(droppedSessions);
    qDeleteAll(workspacesById);
    delete ui;
}

void ConnectDialog::showMessageDialog(int kind, const QString& title, const QString& text)
{
    MessageDialog::showMessage(semiBoldFont, regularFont, &messageOpen, kind, title, text);
}

void ConnectDialog::showConfirmDialog(
    int kind, const QString& title, const QString& text, const std::function<void(bool)>& onAnswer)
{
    MessageDialog::showConfirm(semiBoldFont, regularFont, &messageOpen, kind, title, text, onAnswer);
}

void ConnectDialog::exit()
{
    for (const QString& id : std::as_const(workspaceOrder)) {
        Workspace* ws = workspacesById.value(id);
        // Disconnecting takes a session out of the map, so walk a copy.
        const QList<Session*> sessions = ws->sessions.values();
        for (Session* s : sessions) {
            if (s->agent) {
                s->agent->stop();
            }
            doDisconnect(s, true);
        }
    }
    QCoreApplication::quit();
}

void ConnectDialog::doHide()
{
    emit minimizeToTray();
    close();
}
