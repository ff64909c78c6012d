#pragma once

#include <QByteArray>

// The one request of the local status socket: the line "status" ending in a newline (a carriage return before it is
// allowed). Kept apart from the server so that bytes from any client can be checked without a socket.
class StatusRequest
{
public:
    enum class Kind { Incomplete, Status, Error };

    // What the bytes received so far amount to. An error carries a short reason for the answer.
    struct Parsed {
        Kind kind = Kind::Incomplete;
        QByteArray error;
    };

    static Parsed parse(const QByteArray& received);

    // The request a client sends.
    static const QByteArray line;
    // Anything longer without a newline is refused; the request is far shorter.
    static constexpr qsizetype maxSize = 64;
};
