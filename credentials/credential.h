#pragma once

#include <QString>

// The three texts last used to sign in to a workspace.
struct Credential {
    Credential(const QString& workspaceText, const QString& identityText, const QString& passwordText)
        : workspace(workspaceText)
        , identity(identityText)
        , password(passwordText)
    { }

    QString workspace;
    QString identity;
    QString password;
};
