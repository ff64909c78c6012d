// The floor for any Qt tray program here: one tray icon and one frameless window, nothing else. With "--text" the
// window also shows one line of text, the floor for any window that draws text (the font configuration and the first
// font engine are loaded, the line shaped and its glyphs rendered).
#include <QApplication>
#include <QLabel>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QWidget>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QPixmap pixmap(22, 22);
    pixmap.fill(QColor(0x45, 0xbf, 0x6c));
    QSystemTrayIcon trayIcon { QIcon(pixmap) };
    trayIcon.show();
    QWidget window(nullptr, Qt::FramelessWindowHint);
    window.setAttribute(Qt::WA_TranslucentBackground);
    window.setStyleSheet(QStringLiteral("background-color: #202225;"));
    window.resize(993, 568);
    if (QCoreApplication::arguments().contains(QStringLiteral("--text")))
        (new QLabel(QStringLiteral("Oxmerel RPA"), &window))->move(58, 18);
    window.show();
    return QApplication::exec();
}
