#include "logappender.h"

#include <QPlainTextEdit>

LogAppender::LogAppender(QPlainTextEdit* target)
    : QObject(target)
    , view(target)
{
    flushTimer.setSingleShot(true);
    flushTimer.setInterval(0);
    connect(&flushTimer, &QTimer::timeout, this, &LogAppender::flush);
}

void LogAppender::append(const QString& line)
{
    pending.append(line);
    if (!flushTimer.isActive())
        flushTimer.start();
}

void LogAppender::flush()
{
    flushTimer.stop();
    if (pending.isEmpty())
        return;
    view->appendPlainText(pending.join(QLatin1Char('\n')));
    pending.clear();
}

void LogAppender::discard()
{
    flushTimer.stop();
    pending.clear();
}
