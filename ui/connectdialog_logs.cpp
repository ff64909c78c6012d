// A robot's log page: its tool bar, the bounded log view, unread badges, search, clear and the log folder.
#include "connectdialog.h"

#include "logappender.h"
#include "logview.h"
#include "paths.h"
#include "robotinfo.h"
#include "session.h"
#include "treeitem.h"
#include "workspace.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QScrollBar>
#include <QTextDocument>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <QWidgetAction>

#include <utility>

namespace {

// The view keeps the newest lines only; the document's own bound also turns its undo history off.
constexpr int maxLogLines = 8192;

const QString logViewStyle = QStringLiteral("font-size: 1.1em; background-color: #36393f; color: #fff; margin: 0px; "
                                            "padding: 8px; selection-background-color: #c0cdda; border: 0; ");
// Set on the scroll bars themselves, so that the view keeps its own sheet as it is.
const QString scrollBarStyle
    = QStringLiteral("QScrollBar:vertical{background: #2f3136; width: 10px; margin: 0; padding: 0; border: 0;} "
                     "QScrollBar:horizontal{background: #2f3136; height: 10px; margin: 0; padding: 0; border: 0;} "
                     "QScrollBar::handle:vertical{background: #4f545c; min-height: 24px; border-radius: 4px;} "
                     "QScrollBar::handle:horizontal{background: #4f545c; min-width: 24px; border-radius: 4px;} "
                     "QScrollBar::add-line, QScrollBar::sub-line{width: 0; height: 0; border: 0; background: none;} "
                     "QScrollBar::add-page, QScrollBar::sub-page{background: none;}");
const QString searchStyle = QStringLiteral(
    "QLineEdit{color: #fff; background-color: #40444b; padding: 4px; border: 0; font-size: 1em; min-width: 120px; "
    "max-width: 180px;} QLineEdit[text=\"\"]{color: #c0cdda}");
const QString toolStyle = QStringLiteral("QToolButton{border: 0; padding: 2px; background-color: transparent;} "
                                         "QToolButton:checked{background-color: #8e9297; border-radius: 4px;} "
                                         "QToolButton:hover{background-color: #4f545c; border-radius: 4px;}");

QToolButton* makeToolButton(const QString& icon, const QString& toolTip, const QString& description, bool checkable)
{
    auto* button = new QToolButton;
    button->setIcon(QIcon(icon));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAccessibleDescription(description);
    button->setCheckable(checkable);
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(toolStyle);
    return button;
}

void addTrailingToggle(QLineEdit* field, QToolButton* button)
{
    auto* action = new QWidgetAction(field);
    action->setDefaultWidget(button);
    field->addAction(action, QLineEdit::TrailingPosition);
}

} // namespace

void ConnectDialog::buildLogPane(Session* s)
{
    s->logView = new LogView(maxLogLines);
    s->logView->setFont(regularFont);
    s->logView->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    s->logView->setStyleSheet(logViewStyle);
    s->logView->verticalScrollBar()->setStyleSheet(scrollBarStyle);
    s->logView->horizontalScrollBar()->setStyleSheet(scrollBarStyle);
    s->logView->setAccessibleName(tr("Log of %1").arg(s->robot->name));
    s->logView->setSavePath(
        [s] { return logsRoot() + QStringLiteral("/%1/%2/%2.log").arg(s->workspace->name, s->robot->name); });
    s->logQueue = s->logView->appender();

    auto* icon = new QLabel;
    icon->setPixmap(QPixmap(QStringLiteral(":/images/robot_icon.png"))
                        .scaled(24, 24, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    auto* name = new QLabel(s->robot->name);
    name->setFont(semiBoldFont);
    name->setStyleSheet(QStringLiteral("color: #fff; font-size: 1.1em;"));

    s->searchEdit = new QLineEdit;
    s->searchEdit->setPlaceholderText(tr("Search"));
    s->searchEdit->setStyleSheet(searchStyle);
    s->searchEdit->setAccessibleName(tr("Search"));
    // The icon's button takes its name from the action.
    s->searchEdit->addAction(QIcon(QStringLiteral(":/images/search_icon.png")), QLineEdit::LeadingPosition)
        ->setText(tr("Search"));
    QToolButton* wordMatch = makeToolButton(
        QStringLiteral(":/images/match.png"), tr("Word match"), tr("Makes the search case-sensitive"), true);
    QToolButton* caseSensitive = makeToolButton(
        QStringLiteral(":/images/case.png"), tr("Case sensitive"), tr("Makes the search match whole words"), true);
    addTrailingToggle(s->searchEdit, wordMatch);
    addTrailingToggle(s->searchEdit, caseSensitive);
    QToolButton* clear = makeToolButton(
        QStringLiteral(":/images/trash_icon.png"), tr("Clear Logs"), tr("Empties this robot's log view"), false);

    // Crossed on purpose and kept so: "Word match" governs case and "Case sensitive" whole words.
    connect(wordMatch, &QToolButton::toggled, this, [s](bool on) { s->searchCaseSensitive = on; });
    connect(caseSensitive, &QToolButton::toggled, this, [s](bool on) { s->searchWholeWords = on; });
    connect(s->searchEdit, &QLineEdit::returnPressed, this, [this, s] { searchLog(s, false); });
    connect(s->logView, &LogView::searchRequested, this, [this, s](bool backward) { searchLog(s, backward); });
    connect(s->logView, &LogView::searchFieldRequested, s->searchEdit, [s] {
        s->searchEdit->setFocus(Qt::ShortcutFocusReason);
        s->searchEdit->selectAll();
    });
    connect(clear, &QToolButton::clicked, this, [this, s] { doClearLogs(s); });

    auto* toolBar = new QWidget;
    toolBar->setStyleSheet(QStringLiteral("background-color: #2f3136;"));
    auto* tools = new QHBoxLayout(toolBar);
    tools->setContentsMargins(12, 6, 12, 6);
    tools->setSpacing(8);
    tools->addWidget(icon);
    tools->addWidget(name);
    tools->addStretch();
    tools->addWidget(s->searchEdit);
    tools->addWidget(clear);

    s->logPage = new QWidget;
    auto* column = new QVBoxLayout(s->logPage);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolBar);
    column->addWidget(s->logView);
    s->logView->addShortcutsTo(s->logPage);
    s->page->layout()->addWidget(s->logPage);
}

void ConnectDialog::receivedLog(Session* s, QString time, QString level, QString msg)
{
    Workspace* ws = s->workspace;
    TreeItem* row = rowWidget(s);
    if (ws != currentWorkspace) {
        // Summed before this line is counted, so the workspace badge runs one line behind the rows; kept so.
        int unread = 0;
        for (Session* other : std::as_const(ws->sessions)) {
            if (TreeItem* otherRow = rowWidget(other))
                unread += otherRow->unreadCount();
        }
        ws->badge->setText(QString::number(unread));
        ws->badge->setToolTip(tr("%1 new messages").arg(unread));
        ws->badge->setAccessibleName(TreeItem::unreadText(unread));
        ws->badge->show();
        if (row)
            row->addUnread(1);
    } else if (ws->currentRobotId != s->robot->id && row) {
        row->addUnread(1);
    }

    if (s->logQueue)
        s->logQueue->append(
            time + QLatin1Char(' ') + level.toUpper() + QLatin1Char(' ') + msg, LogView::severityOf(level));
}

void ConnectDialog::searchLog(Session* s, bool backward)
{
    const QString text = s->searchEdit->text();
    if (text.isEmpty())
        return;
    QTextDocument::FindFlags flags;
    if (s->searchWholeWords)
        flags |= QTextDocument::FindWholeWords;
    if (s->searchCaseSensitive)
        flags |= QTextDocument::FindCaseSensitively;
    if (backward)
        flags |= QTextDocument::FindBackward;
    // Wraps once; on failure the cursor stays where it was.
    if (!s->logView->findShown(text, flags))
        showMessageDialog(0, tr("Not Found"), tr("Cannot find \"%1\".").arg(text));
}

void ConnectDialog::doClearLogs(Session* s)
{
    if (!s || !s->logView)
        return;
    s->logQueue->discard();
    s->logView->clear();
}

void ConnectDialog::doOpenLogs(Session* s)
{
    if (!s)
        return;
    openLogFolder(s->workspace->name, s->robot->name);
}

void ConnectDialog::openLogFolder(const QString& workspaceName, const QString& robotName)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(logsRoot() + QStringLiteral("/%1/%2").arg(workspaceName, robotName)));
}
