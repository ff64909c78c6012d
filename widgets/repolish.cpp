#include "repolish.h"

#include <QStyle>
#include <QWidget>

void repolish(QWidget* w)
{
    w->style()->unpolish(w);
    w->style()->polish(w);
}
