#include "qbutton.h"
#include "ui_qbutton.h"

#include "appglobals.h"

namespace {

void padToFour(QStringList& list)
{
    while (!list.isEmpty() && list.size() < 4)
        list.append(list.constLast());
}

} // namespace

QButton::QButton(QStringList backgrounds, QStringList texts, QStringList radii, QString focusBorder,
    QString marginValue, QString paddingValue, QString minWidthValue, QString minHeightValue)
    : QPushButton(nullptr)
    , ui(new Ui::QButton)
    , backgroundColors(std::move(backgrounds))
    , textColors(std::move(texts))
    , borderRadii(std::move(radii))
    , focusBorderColor(std::move(focusBorder))
    , margin(std::move(marginValue))
    , padding(std::move(paddingValue))
    , minWidth(std::move(minWidthValue))
    , minHeight(std::move(minHeightValue))
{
    ui->setupUi(this);
    setCursor(Qt::PointingHandCursor);
    styleSheetText = buildStyleSheet();
    setStyleSheet(styleSheetText);
}

QButton::~QButton()
{
    delete ui;
}

void QButton::on_QButton_clicked()
{
    emit onClicked();
}

void QButton::on_QButton_released()
{
    // A button never keeps the focus style after the mouse lets go of it.
    clearFocus();
}

QString QButton::buildStyleSheet()
{
    padToFour(backgroundColors);
    padToFour(textColors);
    padToFour(borderRadii);
    // The template's first placeholder is the normal state and its second the disabled one, hence the crossing.
    return buttonStyleTemplate.arg(backgroundColors.value(1), backgroundColors.value(0), backgroundColors.value(2),
        backgroundColors.value(3), textColors.value(1), textColors.value(0), textColors.value(2), textColors.value(3),
        focusBorderColor, borderRadii.value(1), borderRadii.value(0), borderRadii.value(2), borderRadii.value(3),
        margin, padding, minWidth, minHeight);
}
