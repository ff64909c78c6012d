#include "messagedialog.h"

#include "qbutton.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QVBoxLayout>

namespace {

QPixmap iconFor(int kind)
{
    switch (kind) {
    case MessageDialog::Error:
        return QPixmap(QStringLiteral(":/images/error.png")).scaled(32, 32, Qt::IgnoreAspectRatio);
    case MessageDialog::Info:
        return QPixmap(QStringLiteral(":/images/info.png")).scaled(32, 32, Qt::IgnoreAspectRatio);
    case MessageDialog::Warning:
        return QPixmap(QStringLiteral(":/images/warning.png")).scaled(37, 32, Qt::IgnoreAspectRatio);
    default:
        return QPixmap();
    }
}

QLabel* titleLabel(const QFont& font, const QString& title)
{
    auto* label = new QLabel(title);
    label->setFont(font);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeft);
    // The later "padding: 8px" wins over the first padding on purpose.
    label->setStyleSheet(
        QStringLiteral("color: #ecf2f5; font-size: 1.2em; margin-bottom: 8px; padding: 4px 8px 0px 0px; "
                       "background-color: #292b2f; padding: 8px; border-top-left-radius: 8px; "
                       "border-top-right-radius: 8px;"));
    return label;
}

QLabel* textLabel(const QFont& font, const QString& text)
{
    auto* label = new QLabel(text);
    label->setFont(font);
    label->setStyleSheet(QStringLiteral("color: #ecf2f5; font-size: 1.2em; padding: 0px 8px 4px 2px;"));
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeft);
    label->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return label;
}

} // namespace

MessageDialog::MessageDialog(const QFont& titleFont, const QFont& textFont, bool* messageOpen, int kind,
    const QString& title, const QString& text)
    : QDialog(nullptr)
{
    if (messageOpen)
        *messageOpen = true;

    auto* frame = new QWidget();
    frame->setObjectName(QStringLiteral("dialog_widget"));
    frame->setStyleSheet(QStringLiteral(
        "QWidget#dialog_widget{background-color: #36393f; border-radius: 8px; border: 1px solid #202225;}"));
    auto* column = new QVBoxLayout();
    column->setContentsMargins(0, 0, 0, 0);
    auto* iconRow = new QHBoxLayout();
    iconRow->setContentsMargins(8, 8, 8, 8);

    auto* icon = new QLabel();
    icon->setPixmap(iconFor(kind));
    icon->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    icon->setStyleSheet(QStringLiteral("padding: 4px 0px 4px 4px"));
    iconRow->addWidget(icon);

    column->addWidget(titleLabel(titleFont, title));
    auto* textColumn = new QVBoxLayout();
    textColumn->addWidget(textLabel(textFont, text));
    iconRow->addLayout(textColumn);
    column->addLayout(iconRow);

    buttonRow = new QHBoxLayout();
    buttonRow->setContentsMargins(8, 0, 8, 8);
    buttonRow->addSpacerItem(new QSpacerItem(1, 1, QSizePolicy::Expanding, QSizePolicy::Fixed));
    column->addLayout(buttonRow);
    frame->setLayout(column);

    auto* outer = new QVBoxLayout();
    outer->addWidget(frame);
    setLayout(outer);
    setStyleSheet(QStringLiteral("QDialog{padding: 12px;}"));
}

void MessageDialog::addButton(const QString& text, std::function<void()> action)
{
    auto* button = new QButton(
        { QStringLiteral("#c0cdda"), QStringLiteral("#202225"), QStringLiteral("#2f3136"), QStringLiteral("#292b2f") },
        { QStringLiteral("#8e9297"), QStringLiteral("#ecf2f5") }, { QStringLiteral("6px") },
        QStringLiteral("transparent"), QStringLiteral("0px"), QStringLiteral("8px 16px"), QStringLiteral("64px"),
        QStringLiteral("18px"));
    button->setText(text);
    connect(
        button, &QPushButton::clicked, button,
        [this, run = std::move(action)] {
            answered = true;
            run();
        },
        Qt::DirectConnection);
    buttonRow->addWidget(button);
    escapeButton = button;
}

void MessageDialog::reject()
{
    // Closing after an answer comes back here and only hides the dialog.
    if (escapeButton && !answered)
        escapeButton->click();
    else
        QDialog::reject();
}

void MessageDialog::showNonBlocking()
{
    buttonRow->addSpacerItem(new QSpacerItem(1, 1, QSizePolicy::Expanding, QSizePolicy::Fixed));
    setModal(true);
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowFlags(Qt::FramelessWindowHint);
    show();
}

MessageDialog* MessageDialog::showMessage(const QFont& titleFont, const QFont& textFont, bool* messageOpen, int kind,
    const QString& title, const QString& text)
{
    auto* dialog = new MessageDialog(titleFont, textFont, messageOpen, kind, title, text);
    // The button words are translated in the main window's context, like the rest of its messages.
    dialog->addButton(QCoreApplication::translate("ConnectDialog", "OK"), [dialog, messageOpen] {
        dialog->close();
        dialog->deleteLater();
        if (messageOpen)
            *messageOpen = false;
    });
    dialog->showNonBlocking();
    return dialog;
}

MessageDialog* MessageDialog::showConfirm(const QFont& titleFont, const QFont& textFont, bool* messageOpen, int kind,
    const QString& title, const QString& text, std::function<void(bool)> onAnswer)
{
    auto* dialog = new MessageDialog(titleFont, textFont, messageOpen, kind, title, text);
    auto answer = [dialog, onAnswer](bool yes) {
        if (onAnswer)
            onAnswer(yes);
        dialog->close();
    };
    dialog->addButton(QCoreApplication::translate("ConnectDialog", "Yes"), [answer] { answer(true); });
    dialog->addButton(QCoreApplication::translate("ConnectDialog", "No"), [answer] { answer(false); });
    dialog->showNonBlocking();
    return dialog;
}
