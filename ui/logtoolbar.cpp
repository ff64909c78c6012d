#include "logtoolbar.h"

#include <QHBoxLayout>
#include <QHash>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QWidgetAction>

namespace {

const QString searchStyle = QStringLiteral(
    "QLineEdit{color: #fff; background-color: #40444b; padding: 4px; border: 0; font-size: 1em; min-width: 120px; "
    "max-width: 180px;} QLineEdit[text=\"\"]{color: #c0cdda}");
const QString toolStyle = QStringLiteral("QToolButton{border: 0; padding: 2px; background-color: transparent;} "
                                         "QToolButton:checked{background-color: #8e9297; border-radius: 4px;} "
                                         "QToolButton:hover{background-color: #4f545c; border-radius: 4px;}");

// One icon object per image for all pages: an icon caches its scaled pixmaps under its own key, so new icons for
// every page would pile copies up in the pixmap cache over a day of connects.
QIcon sharedIcon(const QString& path)
{
    static QHash<QString, QIcon> icons;
    auto it = icons.find(path);
    if (it == icons.end())
        it = icons.insert(path, QIcon(path));
    return *it;
}

// Named after its tool tip; the description says what it does where that is not obvious.
QToolButton* makeToolButton(const QString& icon, const QString& toolTip, const QString& description, bool checkable)
{
    auto* button = new QToolButton;
    button->setIcon(sharedIcon(icon));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAccessibleDescription(description);
    button->setCheckable(checkable);
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(toolStyle);
    return button;
}

void addTrailingToggle(QLineEdit* field, QToolButton* button)
{
    auto* action = new QWidgetAction(field);
    action->setDefaultWidget(button);
    field->addAction(action, QLineEdit::TrailingPosition);
}

} // namespace

LogToolBar::LogToolBar(const QString& robotName, const QFont& nameFont)
    : searchField(new QLineEdit)
    , wordMatch(makeToolButton(
          QStringLiteral(":/images/match.png"), tr("Word match"), tr("Makes the search case-sensitive"), true))
    , caseSensitive(makeToolButton(
          QStringLiteral(":/images/case.png"), tr("Case sensitive"), tr("Makes the search match whole words"), true))
    , clear(makeToolButton(
          QStringLiteral(":/images/trash_icon.png"), tr("Clear Logs"), tr("Empties this robot's log view"), false))
{
    auto* icon = new QLabel;
    icon->setPixmap(QPixmap(QStringLiteral(":/images/robot_icon.png"))
                        .scaled(24, 24, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    auto* name = new QLabel(robotName);
    name->setFont(nameFont);
    name->setStyleSheet(QStringLiteral("color: #fff; font-size: 1.1em;"));

    searchField->setPlaceholderText(tr("Search"));
    searchField->setStyleSheet(searchStyle);
    searchField->setAccessibleName(tr("Search"));
    // The icon's button takes its name from the action.
    searchField->addAction(sharedIcon(QStringLiteral(":/images/search_icon.png")), QLineEdit::LeadingPosition)
        ->setText(tr("Search"));
    addTrailingToggle(searchField, wordMatch);
    addTrailingToggle(searchField, caseSensitive);

    // A QWidget subclass paints its style sheet's background only when asked to.
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("background-color: #2f3136;"));
    auto* tools = new QHBoxLayout(this);
    tools->setContentsMargins(12, 6, 12, 6);
    tools->setSpacing(8);
    tools->addWidget(icon);
    tools->addWidget(name);
    tools->addStretch();
    tools->addWidget(searchField);
    tools->addWidget(clear);
}

void LogToolBar::focusSearch()
{
    searchField->setFocus(Qt::ShortcutFocusReason);
    searchField->selectAll();
}
