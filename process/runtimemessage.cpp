#include "runtimemessage.h"

#include "robotinfo.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

constexpr QLatin1String statusKey("status");
constexpr QLatin1String levelKey("level");
constexpr QLatin1String msgKey("msg");
constexpr QLatin1String timeKey("time");

// Reads through the iterator's reference, which spares building a QJsonValue per key.
QString text(const QJsonObject& object, QLatin1String key)
{
    const QJsonObject::const_iterator it = object.constFind(key);
    return it == object.constEnd() ? QString() : (*it).toString();
}

RuntimeMessage::Status statusFromText(const QString& status)
{
    using Status = RuntimeMessage::Status;
    // Plain log records, by far the most frequent lines, carry no status.
    if (status.isEmpty())
        return Status::Other;
    static const struct {
        QLatin1String text;
        Status status;
    } known[] = {
        { QLatin1String("connected"), Status::Connected },
        { QLatin1String("connecting"), Status::Connecting },
        { QLatin1String("started"), Status::Started },
        { QLatin1String("stopped"), Status::Stopped },
        { QLatin1String("already_connected"), Status::AlreadyConnected },
        { QLatin1String("waiting_input"), Status::WaitingInput },
        { QLatin1String("logged_in"), Status::LoggedIn },
        { QLatin1String("waiting_selection"), Status::WaitingSelection },
    };
    for (const auto& entry : known) {
        if (status == entry.text)
            return entry.status;
    }
    return Status::Other;
}

bool localEncodingIsUtf8()
{
    static const bool utf8 = QString::fromLocal8Bit("\xc3\xa9") == QString(QChar(0xe9));
    return utf8;
}

// The parser wants UTF-8 while lines come in the local encoding. Where that is UTF-8 the round trip through QString
// gives back the same bytes, except that invalid sequences become replacement characters; the parser refuses
// invalid UTF-8, so only a line it refuses needs the round trip.
QJsonDocument parseLocalText(const QByteArray& line)
{
    if (localEncodingIsUtf8()) {
        QJsonDocument document = QJsonDocument::fromJson(line);
        if (!document.isNull() || line.isValidUtf8())
            return document;
    }
    return QJsonDocument::fromJson(QString::fromLocal8Bit(line).toUtf8());
}

QJsonObject parseObject(const QByteArray& line)
{
    const QJsonDocument document = parseLocalText(line);
    if (document.isObject())
        return document.object();
    if (!document.isNull())
        qDebug("Document is not an object");
    return QJsonObject();
}

} // namespace

RuntimeMessage RuntimeMessage::parse(const QByteArray& line)
{
    QJsonObject object = parseObject(line);
    if (object.isEmpty())
        return RuntimeMessage();
    RuntimeMessage message { false, statusFromText(text(object, statusKey)), text(object, levelKey),
        text(object, msgKey), text(object, timeKey), QJsonObject() };
    // Only sign-in reports and listings are read further; log records drop the document at once.
    if (message.status == Status::LoggedIn || message.status == Status::WaitingSelection)
        message.object = std::move(object);
    return message;
}

bool RuntimeMessage::isLogRecord() const
{
    return status != Status::WaitingInput && status != Status::WaitingSelection && status != Status::LoggedIn;
}

QString RuntimeMessage::workspace() const
{
    return text(object, QLatin1String("workspace"));
}

QList<RobotInfo*> RuntimeMessage::listedRobots() const
{
    QList<RobotInfo*> robots;
    const QJsonArray items = object.value(QLatin1String("items")).toArray();
    robots.reserve(items.size());
    for (const QJsonValue& item : items) {
        const QJsonObject robot = item.toObject();
        robots.append(new RobotInfo(text(robot, QLatin1String("id")), text(robot, QLatin1String("name"))));
    }
    return robots;
}
