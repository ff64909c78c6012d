// The floor for any Qt tray program here: one tray icon and one frameless window, nothing else.
#include <QApplication>
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
    window.show();
    return QApplication::exec();
}
