#include "workspace.h"

#include "credential.h"
#include "session.h"

#include <QHBoxLayout>
#include <QUuid>

Workspace::Workspace()
    : name(QStringLiteral("Workspace"))
    , id(QUuid::createUuid().toString())
{ }

Workspace::~Workspace()
{
    delete layout;
    qDeleteAll(sessions);
}

void Workspace::setCredentials(Credential* value)
{
    credentials.reset(value);
}
