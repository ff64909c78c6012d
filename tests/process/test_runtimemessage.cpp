#include "robotinfo.h"
#include "runtimemessage.h"

#include <QTest>

class TestRuntimeMessage final : public QObject
{
    Q_OBJECT

private slots:
    void missingOrOddKeysReadAsEmptyText();
    void listingsKeepEveryItemInOrder();
    void bytesAreDecodedAsLocalText();
};

void TestRuntimeMessage::missingOrOddKeysReadAsEmptyText()
{
    const RuntimeMessage onlyMsg = RuntimeMessage::parse("{\"msg\":\"hello\"}");
    QVERIFY(!onlyMsg.empty);
    QCOMPARE(onlyMsg.msg, QStringLiteral("hello"));
    QVERIFY(onlyMsg.time.isEmpty() && onlyMsg.level.isEmpty());
    QCOMPARE(onlyMsg.status, RuntimeMessage::Status::Other);
    QVERIFY(onlyMsg.isLogRecord());

    const RuntimeMessage odd
        = RuntimeMessage::parse("{\"status\":7,\"level\":null,\"msg\":[\"x\"],\"time\":{},\"workspace\":true}\r\n");
    QVERIFY(!odd.empty);
    QCOMPARE(odd.status, RuntimeMessage::Status::Other);
    QVERIFY(odd.level.isEmpty() && odd.msg.isEmpty() && odd.time.isEmpty() && odd.workspace().isEmpty());
}

void TestRuntimeMessage::listingsKeepEveryItemInOrder()
{
    const RuntimeMessage listing = RuntimeMessage::parse("{\"status\":\"waiting_selection\",\"items\":["
                                                         "{\"id\":\"r1\",\"name\":\"One\"},"
                                                         "{\"id\":\"r2\"},"
                                                         "\"not an object\","
                                                         "{\"id\":\"r1\",\"name\":\"Again\"}]}");
    const QList<RobotInfo*> robots = listing.listedRobots();
    QStringList seen;
    for (const RobotInfo* robot : robots)
        seen.append(robot->id + QLatin1Char('/') + robot->name);
    qDeleteAll(robots);
    QCOMPARE(seen,
        QStringList(
            { QStringLiteral("r1/One"), QStringLiteral("r2/"), QStringLiteral("/"), QStringLiteral("r1/Again") }));

    for (const QByteArray& items : { QByteArray(""), QByteArray(",\"items\":{\"id\":\"r1\"}"),
             QByteArray(",\"items\":\"r1\""), QByteArray(",\"items\":[]") }) {
        const RuntimeMessage message = RuntimeMessage::parse("{\"status\":\"waiting_selection\"" + items + "}");
        QVERIFY2(message.listedRobots().isEmpty(), items.constData());
    }
}

void TestRuntimeMessage::bytesAreDecodedAsLocalText()
{
    QCOMPARE(RuntimeMessage::parse("{\"msg\":\"caf\xc3\xa9 \xe6\x97\xa5\"}\n").msg, QStringLiteral("caf\u00e9 \u65e5"));
    // Bytes that are not valid in the local encoding become replacement characters, not a dropped line.
    const RuntimeMessage invalid = RuntimeMessage::parse("{\"msg\":\"a\xff"
                                                         "b\",\"time\":\"t\"}\n");
    QVERIFY(!invalid.empty);
    QCOMPARE(invalid.msg,
        QString::fromLocal8Bit("a\xff"
                               "b"));
    QCOMPARE(invalid.time, QStringLiteral("t"));
}

QTEST_GUILESS_MAIN(TestRuntimeMessage)
#include "test_runtimemessage.moc"
