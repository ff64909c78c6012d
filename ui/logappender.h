#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

class QPlainTextEdit;

// Collects the log lines that arrive together and appends them to the view in one go on the next pass of the event
// loop: appending line by line to a visible view costs several times more than one append of the whole batch.
// Parented to the view, so it dies with it.
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
    QPlainTextEdit* view;
    QStringList pending;
    QTimer flushTimer;
};
