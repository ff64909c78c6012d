#include "treerow.h"

#include "applicationfonts.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>

namespace treerow {

const QString rowStyleSheet
    = QStringLiteral("QLabel{background-color: transparent; padding: 0; outline: 0; border: 0}");

QFont rowFont()
{
    return ApplicationFonts::font(QStringLiteral(":/fonts/Poppins-SemiBold.ttf"));
}

QHBoxLayout* installRowLayout(QLabel* row)
{
    auto* layout = new QHBoxLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    row->setLayout(layout);
    return layout;
}

QMenu* createMenu(const QList<QAction*>& actions)
{
    auto* menu = new QMenu();
    menu->setStyleSheet(
        QStringLiteral("QMenu::item{padding: 4px 8px;} QMenu::item:selected{background-color: #c0cdda}"));
    menu->addActions(actions);
    return menu;
}

QAction* createMenuAction(const QString& text)
{
    auto* action = new QAction(text);
    action->setIconVisibleInMenu(false);
    return action;
}

} // namespace treerow
