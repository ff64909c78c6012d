#pragma once

#include <QCoreApplication>
#include <QString>

// The text that a log view shows for one runtime log record.
class LogLine
{
    Q_DECLARE_TR_FUNCTIONS(LogLine)

public:
    // Unbroken text wraps at a cost that grows with the square of its length (here 48 Ki characters, journald's
    // bound per line, take about 170 ms to lay out, a 4 MB line minutes), so a view shows at most 16 Ki characters of
    // a line: a few hundred wrapped rows, about 30 ms, and a full 8,192-line view stays within 256 MiB. The runtime's
    // own log files keep the whole text.
    static constexpr qsizetype maximumLength = 16 * 1024;

    // "time LEVEL msg", cut after maximumLength characters with a marker that gives the whole length.
    static QString text(const QString& time, const QString& level, const QString& msg);
};
