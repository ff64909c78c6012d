// Reference for the log-flood benchmark: the least a Qt program can do with a flooding child, namely append each
// read's complete lines to a visible QPlainTextEdit bounded to 8192 lines. It keeps running after the child ends, so
// that its figures can be read; the caller ends it. Usage: minimal_logview <program> [args...]
#include <QApplication>
#include <QPlainTextEdit>
#include <QProcess>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    if (arguments.isEmpty())
        return 2;

    QPlainTextEdit view;
    view.setReadOnly(true);
    view.setMaximumBlockCount(8192);
    view.resize(700, 500);
    view.show();

    QProcess child;
    QByteArray partial;
    QObject::connect(&child, &QProcess::readyReadStandardOutput, &view, [&] {
        partial += child.readAllStandardOutput();
        const qsizetype end = partial.lastIndexOf('\n');
        if (end < 0)
            return;
        view.appendPlainText(QString::fromLocal8Bit(partial.constData(), end));
        partial.remove(0, end + 1);
    });
    child.start(arguments.takeFirst(), arguments);
    return app.exec();
}
