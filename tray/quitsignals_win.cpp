#include "quitsignals.h"

#include <QGuiApplication>

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent)
{
    // The session manager asks first; a session that ends without asking still quits the application.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &QuitSignals::quitRequested);
    connect(qGuiApp, &QGuiApplication::aboutToQuit, this, &QuitSignals::quitRequested);
}

QuitSignals::~QuitSignals() = default;
