#include "statusrequest.h"

const QByteArray StatusRequest::line = QByteArrayLiteral("status\n");

StatusRequest::Parsed StatusRequest::parse(const QByteArray& received)
{
    const qsizetype end = received.indexOf('\n');
    if (end < 0) {
        if (received.size() > maxSize) {
            return { Kind::Error, QByteArrayLiteral("request too long") };
        }
        return {};
    }
    if (end + 1 != received.size()) {
        return { Kind::Error, QByteArrayLiteral("one request per connection") };
    }
    QByteArray request = received.left(end);
    if (request.endsWith('\r')) {
        request.chop(1);
    }
    if (request != QByteArrayView("status")) {
        return { Kind::Error, QByteArrayLiteral("unknown request") };
    }
    return { Kind::Status, {} };
}
