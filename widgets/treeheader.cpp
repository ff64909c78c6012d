#include "treeheader.h"

#include "treerow.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>

TreeHeader::TreeHeader(const QString& text)
    : QLabel(nullptr)
    , styleSheetText(treerow::rowStyleSheet)
    , textLabel(new QLabel(text))
    , menu(nullptr)
{
    // Styled before it has children, so that they are styled once, when they join it.
    setStyleSheet(styleSheetText);
    textLabel->setFont(treerow::rowFont());
    // Nothing sets "connected" on the header today; the selectors are kept for when something does.
    textLabel->setStyleSheet(QStringLiteral(
        "QLabel{background-color: transparent; color: #fff; text-align: left; font-size: 1em; border: 0; outline: 0} "
        "QLabel[connected=\"true\"]{color: #0f0;} QLabel[connected=\"false\"]{color: #f00;}"));
    treerow::installRowLayout(this)->addWidget(textLabel);

    connectAllAct = treerow::createMenuAction(tr("Connect All"));
    disconnectAllAct = treerow::createMenuAction(tr("Disconnect All"));
    connect(connectAllAct, &QAction::triggered, this, &TreeHeader::connectClicked);
    connect(disconnectAllAct, &QAction::triggered, this, &TreeHeader::disconnectClicked);

    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &TreeHeader::onContextMenu);
}

TreeHeader::~TreeHeader()
{
    delete menu;
    delete connectAllAct;
    delete disconnectAllAct;
}

void TreeHeader::connectClicked()
{
    emit connectAction();
}

void TreeHeader::disconnectClicked()
{
    emit disconnectAction();
}

void TreeHeader::onContextMenu(QPoint point)
{
    if (!menu)
        menu = treerow::createMenu({ connectAllAct, disconnectAllAct });
    menu->exec(mapToGlobal(point));
}
