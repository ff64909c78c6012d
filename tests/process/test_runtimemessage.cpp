#include "robotinfo.h"
#include "runtimemessage.h"

#include <QTest>

class TestRuntimeMessage final : public QObject
{
    Q_OBJECT

private slots:
    void linesThatAreNotObjectsAreEmpty_data();
    void linesThatAreNotObjectsAreEmpty();
    void statusDecidesWhatIsLogged_data();
    void statusDecidesWhatIsLogged();
    void missingOrOddKeysReadAsEmptyText();
    void listingsKeepEveryItemInOrder();
    void bytesAreDecodedAsLocalText();
};

using Status = RuntimeMessage::Status;

void TestRuntimeMessage::linesThatAreNotObjectsAreEmpty_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("notAnObject");
    QTest::newRow("noise") << QByteArray("Starting runtime...\n") << false;
    QTest::newRow("blank") << QByteArray("\n") << false;
    QTest::newRow("empty object") << QByteArray("{}\n") << false;
    QTest::newRow("half line") << QByteArray("{\"msg\":\"cut") << false;
    QTest::newRow("two objects glued") << QByteArray("{\"msg\":\"a\"}{\"msg\":\"b\"}\n") << false;
    QTest::newRow("array") << QByteArray("[{\"msg\":\"a\"}]\n") << true;
    QTest::newRow("empty array") << QByteArray("[]\n") << true;
}

void TestRuntimeMessage::linesThatAreNotObjectsAreEmpty()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, notAnObject);
    if (notAnObject)
        QTest::ignoreMessage(QtDebugMsg, "Document is not an object");
    QVERIFY(RuntimeMessage::parse(line).empty);
}

void TestRuntimeMessage::statusDecidesWhatIsLogged_data()
{
    QTest::addColumn<QString>("status");
    QTest::addColumn<Status>("expected");
    QTest::addColumn<bool>("logged");
    QTest::newRow("connected") << QStringLiteral("connected") << Status::Connected << true;
    QTest::newRow("connecting") << QStringLiteral("connecting") << Status::Connecting << true;
    QTest::newRow("started") << QStringLiteral("started") << Status::Started << true;
    QTest::newRow("stopped") << QStringLiteral("stopped") << Status::Stopped << true;
    QTest::newRow("already_connected") << QStringLiteral("already_connected") << Status::AlreadyConnected << true;
    QTest::newRow("waiting_input") << QStringLiteral("waiting_input") << Status::WaitingInput << false;
    QTest::newRow("logged_in") << QStringLiteral("logged_in") << Status::LoggedIn << false;
    QTest::newRow("waiting_selection") << QStringLiteral("waiting_selection") << Status::WaitingSelection << false;
    QTest::newRow("unknown") << QStringLiteral("Connected") << Status::Other << true;
    QTest::newRow("empty") << QString() << Status::Other << true;
}

void TestRuntimeMessage::statusDecidesWhatIsLogged()
{
    QFETCH(QString, status);
    QFETCH(Status, expected);
    QFETCH(bool, logged);
    const RuntimeMessage message
        = RuntimeMessage::parse("{\"status\":\"" + status.toUtf8() + "\",\"level\":\"info\",\"msg\":\"m\"}\n");
    QVERIFY(!message.empty);
    QCOMPARE(message.status, expected);
    QCOMPARE(message.isLogRecord(), logged);
}

void TestRuntimeMessage::missingOrOddKeysReadAsEmptyText()
{
    const RuntimeMessage onlyMsg = RuntimeMessage::parse("{\"msg\":\"hello\"}");
    QVERIFY(!onlyMsg.empty);
    QCOMPARE(onlyMsg.msg, QStringLiteral("hello"));
    QVERIFY(onlyMsg.time.isEmpty() && onlyMsg.level.isEmpty());
    QCOMPARE(onlyMsg.status, Status::Other);
    QVERIFY(onlyMsg.isLogRecord());

    const RuntimeMessage odd
        = RuntimeMessage::parse("{\"status\":7,\"level\":null,\"msg\":[\"x\"],\"time\":{},\"workspace\":true}\r\n");
    QVERIFY(!odd.empty);
    QCOMPARE(odd.status, Status::Other);
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
