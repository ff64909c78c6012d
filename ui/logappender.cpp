#include "logappender.h"

LogAppender::LogAppender(LogView* target)
    : QObject(target)
    , view(target)
{
    flushTimer.setSingleShot(true);
    connect(&flushTimer, &QTimer::timeout, this, &LogAppender::flush);
}

void LogAppender::append(const QString& line, LogView::Severity severity)
{
    severities.append(severity);
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
    view->appendLines(pending, severities);
    pending.clear();
    severities.clear();
    lastFlush.start();
}

void LogAppender::discard()
{
    flushTimer.stop();
    pending.clear();
    severities.clear();
}
