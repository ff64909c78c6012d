#pragma once

#include <QWidget>

class QFont;
class QLineEdit;
class QToolButton;

// The bar above a robot's log: its icon and name, the search field with its two toggles, and the clear button. It
// only builds them; the window wires them.
class LogToolBar : public QWidget
{
    Q_OBJECT

public:
    LogToolBar(const QString& robotName, const QFont& nameFont);

    // Puts the cursor in the search field, its text selected.
    void focusSearch();

    QLineEdit* searchField;
    QToolButton* wordMatch;
    QToolButton* caseSensitive;
    QToolButton* clear;
};
