#include "logview.h"

#include "darkscrollbars.h"
#include "logappender.h"

#include <QAccessible>
#include <QAction>
#include <QActionGroup>
#include <QContextMenuEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSaveFile>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

namespace {

const QString logViewStyle = QStringLiteral("font-size: 1.1em; background-color: #36393f; color: #fff; margin: 0px; "
                                            "padding: 8px; selection-background-color: #c0cdda; border: 0; ");
// Both overlays sit on the view, whose own sheet would otherwise reach them.
const QString hintStyle = QStringLiteral("QPushButton{background-color: #45bf6c; color: #fff; border: 0; "
                                         "border-radius: 10px; padding: 2px 10px; margin: 0; font-size: 1em;}");
const QString statusStyle = QStringLiteral("QLabel{background-color: #202225; color: #ecf2f5; border: 0; "
                                           "border-radius: 4px; padding: 2px 8px; margin: 0; font-size: 1em;}");
constexpr int overlayMargin = 12;
constexpr int statusMs = 3000;

} // namespace

LogView::LogView(int maxLines)
    : QPlainTextEdit(nullptr)
    , queue(new LogAppender(this))
    , hint(new QPushButton(viewport()))
    , status(new QLabel(viewport()))
{
    setReadOnly(true);
    setMaximumBlockCount(maxLines);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setStyleSheet(logViewStyle);
    styleScrollBars(this);

    hint->setFocusPolicy(Qt::NoFocus);
    hint->setCursor(Qt::PointingHandCursor);
    hint->setStyleSheet(hintStyle);
    hint->setAccessibleDescription(tr("Follows the newest lines again"));
    hint->hide();
    describe();
    connect(hint, &QPushButton::clicked, this, [this] { setFollowing(true); });
    status->setStyleSheet(statusStyle);
    status->hide();
    statusTimer.setSingleShot(true);
    statusTimer.setInterval(statusMs);
    connect(&statusTimer, &QTimer::timeout, status, &QWidget::hide);

    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &LogView::scrolled);
    // Wrapped lines are laid out as they come into sight and stretch the range; a following view goes along.
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this] {
        if (following)
            keepAtBottom();
    });

    followAct = new QAction(tr("&Follow"), this);
    followAct->setCheckable(true);
    followAct->setChecked(true);
    connect(followAct, &QAction::triggered, this, &LogView::setFollowing);

    filterGroup = new QActionGroup(this);
    const QString filterNames[] = { tr("&All lines"), tr("&Warnings and errors"), tr("&Errors only") };
    for (int i = 0; i < 3; ++i) {
        QAction* act = filterGroup->addAction(filterNames[i]);
        act->setCheckable(true);
        act->setChecked(i == 0);
        connect(act, &QAction::triggered, this, [this, i] { setFilter(static_cast<Filter>(i)); });
        filterActs.append(act);
    }

    toolActs = {
        makeAction(tr("&Next Error"), Qt::Key_F8, [this] { jumpToError(false); }),
        makeAction(tr("&Previous Error"), Qt::SHIFT | Qt::Key_F8, [this] { jumpToError(true); }),
        makeAction(tr("Save Log &As…"), {}, [this] { saveAs(); }),
    };
    pageActs = {
        toolActs[0],
        toolActs[1],
        makeAction(tr("Find"), QKeySequence::Find, [this] { emit searchFieldRequested(); }),
        makeAction(tr("Find Next"), Qt::Key_F3, [this] { emit searchRequested(false); }),
        makeAction(tr("Find Previous"), Qt::SHIFT | Qt::Key_F3, [this] { emit searchRequested(true); }),
    };
}

QAction* LogView::makeAction(const QString& text, const QKeySequence& key, const std::function<void()>& run)
{
    auto* act = new QAction(text, this);
    act->setShortcut(key);
    act->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(act, &QAction::triggered, this, run);
    return act;
}

void LogView::addShortcutsTo(QWidget* page)
{
    page->addActions(pageActs);
}

LogView::Severity LogView::severityOf(const QString& level)
{
    const QString name = level.toLower();
    if (name == QLatin1String("error") || name == QLatin1String("fatal") || name == QLatin1String("critical"))
        return Error;
    if (name == QLatin1String("warning") || name == QLatin1String("warn"))
        return Warning;
    return Other;
}

bool LogView::isShown(Severity severity) const
{
    // Blocks that no line tagged (the empty first one) read as 255 and always show.
    return severity >= static_cast<int>(shownFilter);
}

void LogView::appendLines(const QStringList& batch, const QList<Severity>& severities)
{
    if (!following) {
        for (const Severity severity : severities)
            held += isShown(severity);
    }
    // Lines that the bound would drop at once are never laid out.
    const int limit = maximumBlockCount();
    const qsizetype skip = limit > 0 ? qMax<qsizetype>(0, batch.size() - limit) : 0;
    const QStringList lines = skip ? batch.mid(skip) : batch;
    makeRoomFor(static_cast<int>(lines.size()));
    QTextDocument* document = this->document();
    // One edit: the layout sees the new blocks once, already tagged, and never lays out the hidden ones.
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.movePosition(QTextCursor::End);
    if (!document->isEmpty())
        cursor.insertBlock();
    const int first = cursor.blockNumber();
    // Joined by the block separator rather than "\n", so that a line ending in "\r" stays a line of its own.
    cursor.insertText(lines.join(QChar::ParagraphSeparator));
    tagBlocks(document->findBlockByNumber(first), lines, severities.mid(skip));
    cursor.endEditBlock();

    if (following)
        keepAtBottom();
    else
        updateHint();
}

void LogView::tagBlocks(QTextBlock block, const QStringList& lines, const QList<Severity>& severities)
{
    for (qsizetype i = 0; i < lines.size() && block.isValid(); ++i) {
        const QString& line = lines.at(i);
        const Severity severity = severities.at(i);
        const bool shown = isShown(severity);
        // A line with line breaks in it spans several blocks: walk them by their lengths.
        qsizetype at = 0;
        for (;;) {
            block.setUserState(severity);
            block.setVisible(shown);
            at += block.length() - 1;
            block = block.next();
            if (at >= line.size())
                break;
            const bool crLf
                = line.at(at) == QLatin1Char('\r') && at + 1 < line.size() && line.at(at + 1) == QLatin1Char('\n');
            at += crLf ? 2 : 1;
        }
    }
}

void LogView::makeRoomFor(int lines)
{
    QTextDocument* document = this->document();
    const int limit = document->maximumBlockCount();
    const int excess = document->blockCount() + lines - limit;
    if (limit <= 0 || excess <= 0 || document->isEmpty())
        return;
    const bool dropsAll = excess >= document->blockCount();
    const QTextBlock firstKept = document->findBlockByNumber(excess);
    const int keptFrom = dropsAll ? document->characterCount() - 1 : firstKept.position();
    const int droppedLines = dropsAll ? document->lineCount() : firstKept.firstLineNumber();
    QScrollBar* scrollBar = verticalScrollBar();
    const int top = scrollBar->value();

    // Removing by position, inside an edit block, lays nothing out: the document's own trimming lays out every
    // block it drops, which under a flood cost more than everything else together.
    scrollingItself = true;
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(keptFrom, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();
    // A held reader keeps the lines on screen while older ones go.
    if (!following)
        scrollBar->setValue(qMax(0, top - droppedLines));
    scrollingItself = false;
}

void LogView::setFilter(Filter filter)
{
    if (filter == shownFilter)
        return;
    queue->flush();
    const QTextBlock top = firstVisibleBlock();
    shownFilter = filter;
    filterActs.at(static_cast<int>(filter))->setChecked(true);
    QTextDocument* document = this->document();
    for (QTextBlock block = document->firstBlock(); block.isValid(); block = block.next())
        block.setVisible(isShown(static_cast<Severity>(block.userState())));
    document->markContentsDirty(0, document->characterCount());
    describe();

    if (following) {
        keepAtBottom();
        return;
    }
    // A held reader stays where he was, or at the next line still shown.
    QTextBlock anchor = top;
    while (anchor.isValid() && !anchor.isVisible())
        anchor = anchor.next();
    scrollingItself = true;
    verticalScrollBar()->setValue(anchor.isValid() ? anchor.firstLineNumber() : verticalScrollBar()->maximum());
    scrollingItself = false;
}

void LogView::setFollowing(bool on)
{
    following = on;
    followAct->setChecked(on);
    if (on) {
        held = 0;
        keepAtBottom();
    }
    updateHint();
}

void LogView::scrolled(int value)
{
    if (scrollingItself)
        return;
    const bool atBottom = value == verticalScrollBar()->maximum();
    if (atBottom != following)
        setFollowing(atBottom);
}

void LogView::keepAtBottom()
{
    scrollingItself = true;
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    scrollingItself = false;
}

void LogView::updateHint()
{
    describe();
    if (following || held == 0) {
        hint->hide();
        return;
    }
    hint->setText(held == 1 ? tr("1 new line") : tr("%1 new lines").arg(held));
    hint->adjustSize();
    placeOverlays();
    hint->show();
}

void LogView::describe()
{
    const QString shown[] = { tr("All lines"), tr("Warnings and errors only"), tr("Errors only") };
    QString text = shown[static_cast<int>(shownFilter)];
    if (!following)
        text += QStringLiteral(", ") + (held ? tr("held, %1 new").arg(held) : tr("held"));
    if (text != accessibleDescription())
        setAccessibleDescription(text);
}

void LogView::showStatus(const QString& text)
{
    status->setText(text);
    status->setAccessibleName(text);
    status->adjustSize();
    placeOverlays();
    status->show();
    statusTimer.start();
    QAccessibleEvent event(status, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

QString LogView::statusText() const
{
    return status->isHidden() ? QString() : status->text();
}

void LogView::placeOverlays()
{
    const QRect area = viewport()->rect();
    hint->move(area.right() - hint->width() - overlayMargin, area.bottom() - hint->height() - overlayMargin);
    status->move(overlayMargin, area.bottom() - status->height() - overlayMargin);
}

void LogView::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    placeOverlays();
    if (following)
        keepAtBottom();
}

bool LogView::findShown(const QString& text, QTextDocument::FindFlags flags)
{
    queue->flush();
    const auto findFrom = [this, &text, flags](QTextCursor from) {
        QTextCursor found = document()->find(text, from, flags);
        while (!found.isNull() && !found.block().isVisible())
            found = document()->find(text, found, flags);
        return found;
    };
    QTextCursor found = findFrom(textCursor());
    if (found.isNull()) {
        QTextCursor start(document());
        if (flags.testFlag(QTextDocument::FindBackward))
            start.movePosition(QTextCursor::End);
        found = findFrom(start);
    }
    if (found.isNull())
        return false;
    setTextCursor(found);
    ensureCursorVisible();
    return true;
}

bool LogView::jumpToError(bool backward)
{
    queue->flush();
    // From the line last jumped to or found, else from what is on screen.
    const QTextCursor cursor = textCursor();
    QTextBlock block;
    if (cursor.hasSelection()) {
        block = backward ? document()->findBlock(cursor.selectionStart()).previous()
                         : document()->findBlock(cursor.selectionEnd()).next();
    } else {
        block = backward ? cursorForPosition(viewport()->rect().bottomLeft()).block() : firstVisibleBlock();
    }
    while (block.isValid() && !(block.isVisible() && block.userState() == Error))
        block = backward ? block.previous() : block.next();
    if (!block.isValid()) {
        showStatus(backward ? tr("No earlier error") : tr("No later error"));
        return false;
    }
    QTextCursor line(block);
    line.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    setTextCursor(line);
    ensureCursorVisible();
    return true;
}

QStringList LogView::linesToSave() const
{
    queue->flush();
    QStringList lines;
    if (document()->isEmpty())
        return lines;
    for (QTextBlock block = document()->firstBlock(); block.isValid(); block = block.next()) {
        if (block.isVisible())
            lines.append(block.text());
    }
    return lines;
}

bool LogView::saveTo(const QString& path, QString* error) const
{
    QSaveFile file(path);
    const QStringList lines = linesToSave();
    QByteArray text = lines.join(QLatin1Char('\n')).toUtf8();
    if (!lines.isEmpty())
        text.append('\n');
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return true;
    if (error)
        *error = file.errorString();
    return false;
}

void LogView::setSavePath(std::function<QString()> suggestPath)
{
    savePath = std::move(suggestPath);
}

void LogView::saveAs()
{
    const QString suggested = savePath ? savePath() : QString();
    if (!suggested.isEmpty())
        QDir().mkpath(QFileInfo(suggested).path());
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Save Log As"), suggested, tr("Log files (*.log *.txt);;All files (*)"));
    if (path.isEmpty())
        return;
    QString error;
    if (saveTo(path, &error))
        showStatus(tr("Saved to %1").arg(QDir::toNativeSeparators(path)));
    else
        showStatus(tr("Cannot save the log: %1").arg(error));
}

void LogView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = createStandardContextMenu(event->pos());
    menu->addSeparator();
    menu->addAction(followAct);
    QMenu* levels = menu->addMenu(tr("&Show"));
    levels->addActions(filterActs);
    menu->addSeparator();
    menu->addActions(toolActs);
    menu->exec(event->globalPos());
    delete menu;
}

QMimeData* LogView::createMimeDataFromSelection() const
{
    if (shownFilter == Filter::All)
        return QPlainTextEdit::createMimeDataFromSelection();
    // A selection runs through the hidden lines between its ends; only the shown ones are copied.
    const QTextCursor cursor = textCursor();
    const int from = cursor.selectionStart();
    const int to = cursor.selectionEnd();
    QStringList parts;
    for (QTextBlock block = document()->findBlock(from); block.isValid() && block.position() <= to;
         block = block.next()) {
        if (!block.isVisible())
            continue;
        const int start = qMax(from, block.position()) - block.position();
        const int end = qMin(to, block.position() + block.length() - 1) - block.position();
        parts.append(block.text().mid(start, end - start));
    }
    auto* copied = new QMimeData;
    copied->setText(parts.join(QLatin1Char('\n')));
    return copied;
}
