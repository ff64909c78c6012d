#pragma once

#include <QPoint>
#include <QWidget>

namespace Ui {
class Titlebar;
}

// The strip that replaces a frameless window's native title bar: it moves the window when dragged, maximises it on
// double-click or when dropped above the screen, and keeps the window's place and maximised state in the settings.
// The parent must be the top-level window and have a doHide() slot, which the close button calls.
class Titlebar : public QWidget
{
    Q_OBJECT

public:
    explicit Titlebar(QWidget* parent);
    ~Titlebar() override;

    Ui::Titlebar* ui;
    // Where the press happened, in the bar's own coordinates; negative after a release, which stops dragging.
    QPoint pressPos;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

public slots:
    void btn_minimize_clicked();
    void btn_maximize_clicked();

private:
    void addButton(const QString& hoverColor, const QString& focusColor, const QString& icon, const QString& toolTip,
        QObject* receiver, const char* slot);
    void restoreWindowState();
};
