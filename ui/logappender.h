#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTimer>

class QPlainTextEdit;

// Collects the log lines that arrive together and appends them to the view in one go, at most about 50 times a
// second: appending line by line to a visible view costs several times more than one append of the whole batch. It
// also makes room under the view's maximum block count itself: the document's own trimming lays out every block it
// drops, which under a flood cost more than everything else together. Parented to the view, so it dies with it.
class LogAppender : public QObject
{
    Q_OBJECT

public:
    explicit LogAppender(QPlainTextEdit* target);

    void append(const QString& line);
    // Appends what is queued now; callers that read the view's text (search) flush first.
    void flush();
    // Drops what is queued, for a view that is being cleared.
    void discard();

private:
    // Drops the oldest blocks so that appending this many lines stays within the bound.
    void makeRoomFor(int lines);

    static constexpr qint64 minimumGapMs = 20;

    QPlainTextEdit* view;
    QStringList pending;
    QTimer flushTimer;
    QElapsedTimer lastFlush;
};
