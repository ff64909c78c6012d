#include "qloadingbutton.h"

#include <QIcon>
#include <QMovie>

QLoadingButton::QLoadingButton(QStringList backgrounds, QStringList texts, QStringList radii, QString focusBorder,
    QString marginValue, QString paddingValue, QString minWidthValue, QString minHeightValue)
    : QButton(std::move(backgrounds), std::move(texts), std::move(radii), std::move(focusBorder),
        std::move(marginValue), std::move(paddingValue), std::move(minWidthValue), std::move(minHeightValue))
{ }

QLoadingButton::~QLoadingButton()
{
    delete movie;
}

void QLoadingButton::setGif(const QString& fileName)
{
    if (!movie) {
        movie = new QMovie(fileName);
        connect(movie, SIGNAL(frameChanged(int)), this, SLOT(onFrameChanged(int)));
        // An animation that ends by itself is restarted, so it always loops.
        if (movie->loopCount() != -1)
            connect(movie, SIGNAL(finished()), this, SLOT(start()));
    }
    movie->stop();
    setIcon(QIcon());
}

void QLoadingButton::start()
{
    if (!movie)
        return;
    movie->start();
    if (!isVisible())
        movie->setPaused(true);
}

void QLoadingButton::stop()
{
    if (!movie)
        return;
    movie->stop();
    setIcon(QIcon());
}

void QLoadingButton::onFrameChanged(int)
{
    setIcon(QIcon(movie->currentPixmap()));
}

void QLoadingButton::hideEvent(QHideEvent* event)
{
    if (movie && movie->state() == QMovie::Running)
        movie->setPaused(true);
    QButton::hideEvent(event);
}

void QLoadingButton::showEvent(QShowEvent* event)
{
    QButton::showEvent(event);
    if (movie && movie->state() == QMovie::Paused)
        movie->setPaused(false);
}
