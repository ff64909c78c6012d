#include "repolish.h"

#include <QStyle>
#include <QWidget>

void repolish(QWidget* w)
{
    // A widget that was never polished is polished with its current properties when it is first shown.
    if (!w->testAttribute(Qt::WA_WState_Polished))
        return;
    w->style()->unpolish(w);
    w->style()->polish(w);
}
