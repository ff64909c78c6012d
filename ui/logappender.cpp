#include "logappender.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

LogAppender::LogAppender(QPlainTextEdit* target)
    : QObject(target)
    , view(target)
{
    flushTimer.setSingleShot(true);
    connect(&flushTimer, &QTimer::timeout, this, &LogAppender::flush);
}

void LogAppender::append(const QString& line)
{
    pending.append(line);
    // Under a flood the child's pipe is always readable and Qt's GLib event loop then runs timers only at idle
    // priority, so a timer alone could leave lines queued for seconds: a flood flushes from here, at most about 50
    // times a second. The timer shows the rest once the output pauses, and a line after a quiet spell on the next pass.
    const qint64 sinceFlush = lastFlush.isValid() ? lastFlush.elapsed() : minimumGapMs;
    if (sinceFlush >= minimumGapMs && pending.size() > 1) {
        flush();
        return;
    }
    if (!flushTimer.isActive())
        flushTimer.start(static_cast<int>(qMax<qint64>(0, minimumGapMs - sinceFlush)));
}

void LogAppender::flush()
{
    flushTimer.stop();
    if (pending.isEmpty())
        return;
    // Lines that the bound would drop at once are never laid out.
    const int limit = view->maximumBlockCount();
    if (limit > 0 && pending.size() > limit)
        pending.erase(pending.begin(), pending.end() - limit);
    makeRoomFor(static_cast<int>(pending.size()));
    view->appendPlainText(pending.join(QLatin1Char('\n')));
    pending.clear();
    lastFlush.start();
}

void LogAppender::discard()
{
    flushTimer.stop();
    pending.clear();
}

void LogAppender::makeRoomFor(int lines)
{
    QTextDocument* document = view->document();
    const int limit = document->maximumBlockCount();
    const int excess = document->blockCount() + lines - limit;
    if (limit <= 0 || excess <= 0 || document->isEmpty())
        return;
    const bool dropsAll = excess >= document->blockCount();
    const QTextBlock firstKept = document->findBlockByNumber(excess);
    const int keptFrom = dropsAll ? document->characterCount() - 1 : firstKept.position();
    const int droppedLines = dropsAll ? document->lineCount() : firstKept.firstLineNumber();
    QScrollBar* scrollBar = view->verticalScrollBar();
    const int top = scrollBar->value();
    const bool following = top == scrollBar->maximum();

    // Inside an edit block, placing a cursor by position lays nothing out.
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(keptFrom, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();

    // A reader scrolled up keeps the lines on screen while older ones go.
    if (!following)
        scrollBar->setValue(qMax(0, top - droppedLines));
}
