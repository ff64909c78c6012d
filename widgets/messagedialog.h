#pragma once

#include <QDialog>

#include <functional>

class QBoxLayout;
class QFont;
class QPushButton;

// The program's own message box: a frameless, rounded, dark dialog that is shown modal but without blocking the
// caller. The caller's flag is set while a message is up; only "OK" clears it, "Yes" and "No" leave it set.
class MessageDialog : public QDialog
{
    Q_OBJECT

public:
    enum MessageType { Error = 0, Info = 1, Warning = 2 };

    // One "OK" button, which closes and deletes the dialog and clears *messageOpen. Any other kind shows no icon.
    static MessageDialog* showMessage(const QFont& titleFont, const QFont& textFont, bool* messageOpen, int kind,
        const QString& title, const QString& text);
    // "Yes" and "No" buttons, which give onAnswer (if any) true or false and then close the dialog.
    static MessageDialog* showConfirm(const QFont& titleFont, const QFont& textFont, bool* messageOpen, int kind,
        const QString& title, const QString& text, std::function<void(bool)> onAnswer);

protected:
    // Escape answers as the last button does ("OK" or "No").
    void reject() override;

private:
    MessageDialog(const QFont& titleFont, const QFont& textFont, bool* messageOpen, int kind, const QString& title,
        const QString& text);

    void addButton(const QString& text, std::function<void()> action);
    void showNonBlocking();

    QBoxLayout* buttonRow;
    QPushButton* escapeButton = nullptr;
    bool answered = false;
};
