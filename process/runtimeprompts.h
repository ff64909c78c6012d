#pragma once

#include <QString>

#include <functional>

// The only place the process bridge asks the user something, so that the window and tests can take it over.
namespace RuntimePrompts {

// Returns false when the user cancels; otherwise *answer holds the text.
using InputHook = std::function<bool(const QString& label, QString* answer)>;
using WarningHook = std::function<void(const QString& title, const QString& text)>;

// An empty hook restores the default.
void setInputHook(InputHook hook);
void setWarningHook(WarningHook hook);

// Default: a modal password-style input dialog pre-filled with the home folder's name.
bool askInput(const QString& label, QString* answer);
// Default: a debug-log line only; the window installs its message dialog. Never waits for the user.
void showWarning(const QString& title, const QString& text);

} // namespace RuntimePrompts
