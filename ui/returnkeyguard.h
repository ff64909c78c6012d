#pragma once

#include <QObject>

// Swallows Return and Enter key presses that a child line edit has already handled and let go up the parent chain.
// Push buttons in a QDialog are auto-default, so without this the dialog would also "click" one of its buttons.
class ReturnKeyGuard : public QObject
{
    Q_OBJECT

public:
    explicit ReturnKeyGuard(QObject* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
