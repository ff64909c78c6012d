#pragma once

#include <QKeySequence>
#include <QPlainTextEdit>
#include <QStringList>
#include <QTextDocument>
#include <QTimer>

#include <functional>

class LogAppender;
class QAction;
class QActionGroup;
class QLabel;
class QPushButton;

// A robot's log: a read-only text view bounded to a number of lines, with the reader's tools. It follows the newest
// line until the reader scrolls up, and then holds still and counts what arrives; a level filter hides lines without
// dropping them, so hidden lines keep their place in the bound. Each line's level is kept in its block's user state.
class LogView : public QPlainTextEdit
{
    Q_OBJECT

public:
    enum Severity : quint8 { Other, Warning, Error };
    enum class Filter { All, WarningsAndErrors, ErrorsOnly };

    explicit LogView(int maxLines);

    static Severity severityOf(const QString& level);

    // The one way lines reach the view; it batches them.
    LogAppender* appender() const { return queue; }
    // Appends a batch at once; LogAppender calls it.
    void appendLines(const QStringList& batch, const QList<Severity>& severities);

    void setFilter(Filter filter);
    Filter filter() const { return shownFilter; }
    void setFollowing(bool on);
    bool isFollowing() const { return following; }
    // Lines shown since the view was held.
    int heldLines() const { return held; }
    QString statusText() const;

    // Searches the lines shown from the cursor on, wrapping once; selects the match, or leaves the cursor as it was.
    bool findShown(const QString& text, QTextDocument::FindFlags flags);
    // Selects the next (or previous) error line shown; says so in the status when there is none.
    bool jumpToError(bool backward);
    // The lines the page holds, or only the shown ones while a filter is on.
    QStringList linesToSave() const;
    bool saveTo(const QString& path, QString* error) const;
    // Where "Save Log As…" starts: a suggested file path in the robot's logs folder.
    void setSavePath(std::function<QString()> suggestPath);
    // Adds the view's shortcuts to the page that holds it and the search field.
    void addShortcutsTo(QWidget* page);

signals:
    void searchFieldRequested();
    void searchRequested(bool backward);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    QMimeData* createMimeDataFromSelection() const override;

private:
    void makeRoomFor(int lines);
    void tagBlocks(QTextBlock block, const QStringList& lines, const QList<Severity>& severities);
    bool isShown(Severity severity) const;
    void scrolled(int value);
    void keepAtBottom();
    void updateHint();
    // Tells screen readers what the view shows and whether it follows.
    void describe();
    void showStatus(const QString& text);
    void placeOverlays();
    void saveAs();
    QAction* makeAction(const QString& text, const QKeySequence& key, const std::function<void()>& run);

    LogAppender* queue;
    Filter shownFilter = Filter::All;
    bool following = true;
    // Set while the view moves its own scroll bar, which is no reader's choice.
    bool scrollingItself = false;
    int held = 0;
    QPushButton* hint;
    QLabel* status;
    QTimer statusTimer;
    std::function<QString()> savePath;

    QAction* followAct;
    QActionGroup* filterGroup;
    QList<QAction*> filterActs;
    QList<QAction*> toolActs;
    QList<QAction*> pageActs;
};
