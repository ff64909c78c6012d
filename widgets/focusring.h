#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

// Draws a ring around the widget that took the keyboard focus from the keyboard (Tab, a shortcut, arrow keys): the
// dark theme's own focus colours are too faint to follow. A mouse click hides it. One per application.
class FocusRing : public QObject
{
    Q_OBJECT

public:
    static void install();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit FocusRing(QObject* parent);
    void follow(QWidget* target);
    void place();

    QPointer<QWidget> target;
    QPointer<QWidget> ring;
};
