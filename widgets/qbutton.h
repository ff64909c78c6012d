#pragma once

#include <QPushButton>
#include <QStringList>

namespace Ui {
class QButton;
}

// A push button whose whole look comes from one style sheet filled from the constructor's values. The lists hold
// the states in the order disabled, normal, hover, focus; shorter lists repeat their last entry.
class QButton : public QPushButton
{
    Q_OBJECT

public:
    explicit QButton(QStringList backgroundColors = { QStringLiteral("#fff") },
        QStringList textColors = { QStringLiteral("#fff") }, QStringList borderRadii = { QStringLiteral("6px") },
        QString focusBorderColor = QStringLiteral("transparent"), QString margin = QStringLiteral("0px"),
        QString padding = QStringLiteral("4px"), QString minWidth = QStringLiteral("0px"),
        QString minHeight = QStringLiteral("0px"));
    ~QButton() override;

    Ui::QButton* ui;
    QString styleSheetText;
    QStringList backgroundColors;
    QStringList textColors;
    QStringList borderRadii;
    QString focusBorderColor;
    QString margin;
    QString padding;
    QString minWidth;
    QString minHeight;

signals:
    void onClicked();

public slots:
    void on_QButton_clicked();
    void on_QButton_released();

private:
    QString buildStyleSheet();
};
