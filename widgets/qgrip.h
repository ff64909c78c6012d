#pragma once

#include <QLabel>
#include <QPoint>
#include <QString>

namespace Ui {
class QGrip;
}

// A thin strip or small square on one edge or corner of a frameless window that resizes the window when dragged.
// kind: 0 horizontal edge, 1 vertical edge, 2 corner.
// position: 0 top, 1 right, 2 bottom, 3 left, 4 top-left, 5 top-right, 6 bottom-left, 7 bottom-right.
class QGrip : public QLabel
{
    Q_OBJECT

public:
    QGrip(int kind, int position, QString backgroundColor, QString borderColor);
    ~QGrip() override;

    Ui::QGrip* ui;
    int kind;
    int position;
    int gripHeight = 4;
    int gripWidth = 4;
    QString borderColor;
    QString backgroundColor;
    // Where the press happened, in the grip's own coordinates; negative after a release, which stops resizing.
    QPoint pressPos;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void applyShape();
    QString borderFragment() const;
};
