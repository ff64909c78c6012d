#include "runtimemessage.h"

#include "robotinfo.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString text(const QJsonObject& object, QLatin1String key)
{
    return object.value(key).toString();
}

RuntimeMessage::Status statusFromText(const QString& status)
{
    using Status = RuntimeMessage::Status;
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

// The parser wants UTF-8; decoding from the local encoding and back is skipped when it would give the same bytes.
QByteArray jsonBytes(const QByteArray& line)
{
    if (localEncodingIsUtf8() && line.isValidUtf8())
        return line;
    return QString::fromLocal8Bit(line).toUtf8();
}

QJsonObject parseObject(const QByteArray& line)
{
    const QJsonDocument document = QJsonDocument::fromJson(jsonBytes(line));
    if (document.isObject())
        return document.object();
    if (!document.isNull())
        qDebug("Document is not an object");
    return QJsonObject();
}

} // namespace

RuntimeMessage RuntimeMessage::parse(const QByteArray& line)
{
    RuntimeMessage message;
    message.object = parseObject(line);
    if (message.object.isEmpty())
        return message;
    message.empty = false;
    message.level = text(message.object, QLatin1String("level"));
    message.msg = text(message.object, QLatin1String("msg"));
    message.time = text(message.object, QLatin1String("time"));
    message.status = statusFromText(text(message.object, QLatin1String("status")));
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
