#include "runtimeprompts.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QInputDialog>
#include <QLineEdit>

namespace RuntimePrompts {

namespace {

InputHook& inputHook()
{
    static InputHook hook;
    return hook;
}

WarningHook& warningHook()
{
    static WarningHook hook;
    return hook;
}

bool askWithDialog(const QString& label, QString* answer)
{
    bool confirmed = false;
    const QString text = QInputDialog::getText(nullptr, QCoreApplication::translate("ProcHandler", "Oxmerel"), label,
        QLineEdit::Password, QDir::home().dirName(), &confirmed);
    if (confirmed)
        *answer = text;
    return confirmed;
}

} // namespace

void setInputHook(InputHook hook)
{
    inputHook() = std::move(hook);
}

void setWarningHook(WarningHook hook)
{
    warningHook() = std::move(hook);
}

bool askInput(const QString& label, QString* answer)
{
    const InputHook hook = inputHook(); // a copy: the hook may be replaced while a dialog runs
    return hook ? hook(label, answer) : askWithDialog(label, answer);
}

void showWarning(const QString& title, const QString& text)
{
    if (const WarningHook hook = warningHook())
        hook(title, text);
    else
        qDebug().noquote() << title << text;
}

} // namespace RuntimePrompts
