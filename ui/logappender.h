#pragma once

#include "logview.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTimer>

// Collects the log lines that arrive together and appends them to the view in one go, at most about 50 times a
// second: appending line by line to a visible view costs several times more than one append of the whole batch.
// Parented to the view, so it dies with it.
class LogAppender : public QObject
{
    Q_OBJECT

public:
    explicit LogAppender(LogView* target);

    void append(const QString& line, LogView::Severity severity);
    // Appends what is queued now; callers that read the view's text (search) flush first.
    void flush();
    // Drops what is queued, for a view that is being cleared.
    void discard();

private:
    static constexpr qint64 minimumGapMs = 20;

    LogView* view;
    QStringList pending;
    QList<LogView::Severity> severities;
    QTimer flushTimer;
    QElapsedTimer lastFlush;
};
