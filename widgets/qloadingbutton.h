#pragma once

#include "qbutton.h"

class QMovie;

// A styled button that can show an animated GIF as its icon while an operation runs.
class QLoadingButton : public QButton
{
    Q_OBJECT

public:
    explicit QLoadingButton(QStringList backgroundColors = { QStringLiteral("#fff") },
        QStringList textColors = { QStringLiteral("#fff") }, QStringList borderRadii = { QStringLiteral("6px") },
        QString focusBorderColor = QStringLiteral("transparent"), QString margin = QStringLiteral("0px"),
        QString padding = QStringLiteral("4px"), QString minWidth = QStringLiteral("0px"),
        QString minHeight = QStringLiteral("0px"));
    ~QLoadingButton() override;

    // Only the first call loads a file; later calls just stop the animation and clear the icon.
    void setGif(const QString& fileName);

    QMovie* movie = nullptr;

public slots:
    void start();
    void stop();
    void onFrameChanged(int frameNumber);

protected:
    // The animation is paused while the button is hidden (with its window, too), so that it never wakes the program
    // for frames that nobody sees.
    void hideEvent(QHideEvent* event) override;
    void showEvent(QShowEvent* event) override;
};
