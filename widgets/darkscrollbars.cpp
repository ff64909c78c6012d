#include "darkscrollbars.h"

#include <QAbstractScrollArea>
#include <QScrollBar>

void styleScrollBars(QAbstractScrollArea* area)
{
    static const QString style = QStringLiteral(
        "QScrollBar:vertical{background: #2f3136; width: 10px; margin: 0; padding: 0; border: 0;} "
        "QScrollBar:horizontal{background: #2f3136; height: 10px; margin: 0; padding: 0; border: 0;} "
        "QScrollBar::handle:vertical{background: #4f545c; min-height: 24px; border-radius: 4px;} "
        "QScrollBar::handle:horizontal{background: #4f545c; min-width: 24px; border-radius: 4px;} "
        "QScrollBar::add-line, QScrollBar::sub-line{width: 0; height: 0; border: 0; background: none;} "
        "QScrollBar::add-page, QScrollBar::sub-page{background: none;}");
    area->verticalScrollBar()->setStyleSheet(style);
    area->horizontalScrollBar()->setStyleSheet(style);
}
