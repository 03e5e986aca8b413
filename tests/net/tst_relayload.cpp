#include "RelaySession.h"

#include <QRandomGenerator>
#include <QtTest>

#include <memory>
#include <vector>

namespace
{

constexpr int SmallBuffer = 4096;

/// Whether the relay still does what it is for.
bool works(const RelayProcess &relay)
{
    PlainPeer host(relay.port());
    PlainPeer guest(relay.port());
    return host.join("Ada", SessionNumber).kind == 1 && joinThrough(&host, &guest, "Ben") &&
           host.write(PlainPeer::move(7)) && guest.read().bytes == PlainPeer::move(7);
}

} // namespace

/// Peers that are slow, hostile, too many, or gone.
class TestRelayLoad : public QObject
{
    Q_OBJECT

private slots:
    void framesInAnyPieces();
    void manyFramesInOneWrite();
    void badFramesEndTheConnection_data();
    void badFramesEndTheConnection();
    void strayKindsAreIgnored();
    void newcomerMustAskFirst_data();
    void newcomerMustAskFirst();
    void randomBytesHarmNobody();
    void slowPeerGetsEverySceneAndTheNewestMove();
    void peerOverTheOutputLimitIsDropped();
    void sceneIsSharedByAllWhoWaitForIt();
    void announcedLengthTakesNoMemory();
    void fullRelayTurnsAway();
    void unfinishedFramesAreTimedOut_data();
    void unfinishedFramesAreTimedOut();
    void silentParticipantStays();
    void peerThatTakesNothingIsTimedOut();
};

void TestRelayLoad::framesInAnyPieces()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    PlainPeer guest(relay.port());
    for (const char byte : PlainPeer::joinRequest("Ada", SessionNumber))
        QVERIFY(host.write(QByteArray(1, byte)));
    QCOMPARE(host.read().kind, 1);
    QVERIFY(joinThrough(&host, &guest, "Ben"));
    const QByteArray both = PlainPeer::move(1) + scene(5, 's');
    for (int split = 1; split < both.size(); ++split) {
        QVERIFY(host.write(both.left(split)));
        QTest::qSleep(1);
        QVERIFY(host.write(both.mid(split)));
        QCOMPARE(guest.read().bytes, PlainPeer::move(1));
        QCOMPARE(guest.read().bytes, scene(5, 's'));
    }
}

void TestRelayLoad::manyFramesInOneWrite()
{
    RelaySession session;
    QVERIFY(session.begin());
    QByteArray all;
    for (quint32 i = 0; i < 50; ++i)
        all += PlainPeer::move(i);
    QVERIFY(session.host.write(all));
    for (quint32 i = 0; i < 50; ++i)
        QCOMPARE(session.guest.read().bytes, PlainPeer::move(i));
    QVERIFY(session.guest.isQuiet());
}

void TestRelayLoad::badFramesEndTheConnection_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray empty = PlainPeer::number(0);
    const QByteArray move = QByteArray(1, '\2');
    const auto framed = [](const QByteArray &fields) {
        return PlainPeer::number(quint32(fields.size())) + fields;
    };
    QTest::newRow("length 0") << PlainPeer::number(0);
    QTest::newRow("length 12") << PlainPeer::number(12);
    QTest::newRow("longest length") << PlainPeer::number(0xffffffff);
    QTest::newRow("negative length") << PlainPeer::number(0x80000000);
    QTest::newRow("scene over the limit") << PlainPeer::number(64 * 1024 + 1) + QByteArray(1, '\6');
    QTest::newRow("move over its limit") << PlainPeer::number(64 * 1024 + 1) + move;
    QTest::newRow("byte left over") << framed(move + empty + empty + empty + "x");
    QTest::newRow("first text too long") << framed(move + PlainPeer::number(9) + empty + empty);
    QTest::newRow("second text too long") << framed(move + empty + PlainPeer::number(5) + empty);
    QTest::newRow("data too long") << framed(move + empty + empty + PlainPeer::number(1));
    QTest::newRow("data far too long") << framed(move + empty + empty + PlainPeer::number(0xfffffffe));
    QTest::newRow("text of half a character") << framed(move + PlainPeer::number(1) + "x" + empty + empty);
    QTest::newRow("only two fields") << framed(move + PlainPeer::number(4) + "abcd" + empty);
}

void TestRelayLoad::badFramesEndTheConnection()
{
    QFETCH(QByteArray, bytes);
    RelaySession session({"--max-frame", "64K"});
    QVERIFY(session.begin());
    QVERIFY(session.host.write(PlainPeer::move(1) + bytes));
    QVERIFY(session.host.isEnded());
    QCOMPARE(session.guest.read().bytes, PlainPeer::move(1));
    QVERIFY(session.guest.isQuiet());
    PlainPeer third(session.relay.port());
    QVERIFY(joinThrough(&session.guest, &third, "Cleo"));
}

void TestRelayLoad::strayKindsAreIgnored()
{
    RelaySession session;
    QVERIFY(session.begin());
    int sent = 0;
    for (int kind = 0; kind < 256; ++kind) {
        if (kind == 2 || (kind >= 4 && kind <= 6))
            continue;
        QVERIFY(session.host.write(PlainPeer::frame(kind, "1", "Ada", PlainPeer::text(SessionNumber))));
        ++sent;
    }
    QVERIFY(session.host.write(PlainPeer::move(1)));
    QCOMPARE(session.guest.read().bytes, PlainPeer::move(1));
    QVERIFY(session.host.isQuiet());
    session.host.close();
    QCOMPARE(session.relay.event("leave").value("ignored").toInt(), sent);
}

void TestRelayLoad::newcomerMustAskFirst_data()
{
    QTest::addColumn<int>("kind");
    for (const int kind : {0, 1, 2, 4, 5, 6, 7, 8, 255})
        QTest::addRow("%d", kind) << kind;
}

void TestRelayLoad::newcomerMustAskFirst()
{
    QFETCH(int, kind);
    RelayProcess relay;
    PlainPeer peer(relay.port());
    QVERIFY(peer.write(PlainPeer::frame(kind, "1", "Ada", PlainPeer::text(SessionNumber))));
    QVERIFY(peer.isEnded());
    QVERIFY(works(relay));
}

void TestRelayLoad::randomBytesHarmNobody()
{
    RelaySession session;
    QVERIFY(session.begin());
    QRandomGenerator random(1);
    for (int i = 0; i < 300; ++i) {
        PlainPeer peer(session.relay.port());
        QByteArray bytes;
        if (i % 3 > 0)
            bytes = PlainPeer::joinRequest("Eve", QString::number(30000 + i));
        if (i % 3 > 1)
            bytes += PlainPeer::number(random.bounded(200u));
        for (int n = random.bounded(400); n > 0; --n)
            bytes.append(char(random.bounded(256)));
        peer.write(bytes);
    }
    QVERIFY(session.host.write(PlainPeer::move(1)));
    QCOMPARE(session.guest.read().bytes, PlainPeer::move(1));
    QVERIFY(session.relay.peakMemory() < 100 * 1024);
}

void TestRelayLoad::slowPeerGetsEverySceneAndTheNewestMove()
{
    RelaySession session({}, SmallBuffer);
    QVERIFY(session.begin());
    constexpr quint32 moves = 30000;
    constexpr quint32 movesPerScene = 10000;
    for (quint32 i = 0; i < moves; ++i) {
        if (i % movesPerScene == 0)
            QVERIFY(session.host.write(scene(300000, char('a' + i / movesPerScene))));
        QVERIFY(session.host.write(PlainPeer::move(i)));
    }
    // The relay has read it all when it has seen the last scene and passes on what follows.
    QVERIFY(session.host.write(scene(10, 'z') + PlainPeer::move(moves)));
    while (session.relay.event("scene").value("bytes").toInt() != scene(10, 'z').size())
        QVERIFY(session.relay.isRunning());

    QByteArray scenes;
    qint64 newest = -1;
    quint32 received = 0;
    while (newest < moves) {
        const PlainPeer::Message message = session.guest.read();
        if (message.kind == 6) {
            scenes.append(message.data.at(0));
            continue;
        }
        QCOMPARE(message.kind, 2);
        QVERIFY(PlainPeer::numberOf(message.data) > newest);
        newest = PlainPeer::numberOf(message.data);
        ++received;
    }
    QCOMPARE(scenes, QByteArray("abcz"));
    QVERIFY(session.guest.isQuiet());
    QVERIFY2(received < moves / 4, qPrintable(QString::number(received)));
    session.guest.close();
    QCOMPARE(session.relay.event("leave").value("superseded").toInt(), int(moves + 1 - received));
}

void TestRelayLoad::peerOverTheOutputLimitIsDropped()
{
    RelaySession session({"--max-frame", "1M", "--max-output", "3M"}, SmallBuffer);
    QVERIFY(session.begin());
    PlainPeer quick(session.relay.port());
    QVERIFY(quick.write(PlainPeer::joinRequest("Cleo", SessionNumber)));
    QCOMPARE(session.host.read().kind, 3);
    QVERIFY(session.host.write(PlainPeer::frame(4, "3", "Cleo", {})));
    QCOMPARE(quick.read().kind, 1);
    for (int i = 0; i < 10; ++i) {
        QVERIFY(session.host.write(scene(1000000, char('a' + i))));
        QCOMPARE(quick.read().data.at(0), char('a' + i));
    }
    const QJsonObject leave = session.relay.event("leave");
    QCOMPARE(leave.value("client").toString(), QStringLiteral("2"));
    QCOMPARE(leave.value("reason").toString(), QStringLiteral("too much output waiting"));
    QVERIFY(session.host.write(PlainPeer::move(1)));
    QCOMPARE(quick.read().bytes, PlainPeer::move(1));
}

void TestRelayLoad::sceneIsSharedByAllWhoWaitForIt()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    QVERIFY(host.write(scene(40000000, 's')));
    QCOMPARE(relay.event("scene").value("session").toInt(), 11111);
    const int before = relay.peakMemory();
    std::vector<std::unique_ptr<PlainPeer>> guests;
    for (int i = 0; i < 16; ++i) {
        guests.push_back(std::make_unique<PlainPeer>(relay.port(), PlainPeer::Family::V4, SmallBuffer));
        QVERIFY(guests.back()->write(PlainPeer::joinRequest("Ben", SessionNumber)));
        QVERIFY(host.write(PlainPeer::frame(4, host.read().clientId, {}, {})));
        QCOMPARE(guests.back()->read().kind, 1);
    }
    QVERIFY2(before < 120 * 1024, qPrintable(QString::number(before)));
    QVERIFY2(relay.peakMemory() - before < 8 * 1024, qPrintable(QString::number(relay.peakMemory())));
    QVERIFY(guests.back()->read().data == QByteArray(40000000, 's'));
}

void TestRelayLoad::announcedLengthTakesNoMemory()
{
    RelayProcess relay;
    const int before = relay.peakMemory();
    std::vector<std::unique_ptr<PlainPeer>> peers;
    for (int i = 0; i < 50; ++i) {
        peers.push_back(std::make_unique<PlainPeer>(relay.port()));
        QCOMPARE(peers.back()->join("Eve", QString::number(20000 + i)).kind, 1);
        QVERIFY(peers.back()->write(PlainPeer::number(60000000) + QByteArray(100, '\6')));
    }
    QVERIFY(works(relay));
    QVERIFY2(relay.peakMemory() - before < 16 * 1024, qPrintable(QString::number(relay.peakMemory())));
}

void TestRelayLoad::fullRelayTurnsAway()
{
    RelaySession session({"--max-clients", "2"});
    QVERIFY(session.begin());
    {
        PlainPeer third(session.relay.port());
        QCOMPARE(third.read().kind, 7);
        QVERIFY(third.isEnded());
    }
    QCOMPARE(session.relay.event("full").value("clients").toInt(), 2);
    session.guest.close();
    QCOMPARE(session.relay.event("leave").value("client").toString(), QStringLiteral("2"));
    PlainPeer fourth(session.relay.port());
    QVERIFY(joinThrough(&session.host, &fourth, "Cleo"));
}

void TestRelayLoad::unfinishedFramesAreTimedOut_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("drip");
    QTest::addColumn<QString>("reason");
    const QByteArray request = PlainPeer::joinRequest("Ada", SessionNumber);
    QTest::newRow("nothing") << QByteArray() << false << "no join request";
    QTest::newRow("half a length") << request.left(2) << false << "no join request";
    QTest::newRow("request, drop by drop") << request << true << "no join request";
    QTest::newRow("half a move") << request + PlainPeer::move(1).left(50) << false << "unfinished frame";
}

void TestRelayLoad::unfinishedFramesAreTimedOut()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, drip);
    QFETCH(QString, reason);
    RelayProcess relay({"--idle-timeout", "1"});
    PlainPeer peer(relay.port());
    if (drip) {
        for (int i = 0; i < bytes.size() && peer.isQuiet(300); ++i)
            peer.write(bytes.mid(i, 1));
    } else {
        QVERIFY(peer.write(bytes));
    }
    QCOMPARE(relay.event("leave").value("reason").toString(), reason);
    QVERIFY(works(relay));
}

void TestRelayLoad::silentParticipantStays()
{
    RelaySession session({"--idle-timeout", "1"});
    QVERIFY(session.begin());
    QVERIFY(session.guest.isQuiet(3000));
    QVERIFY(session.guest.write(PlainPeer::move(1)));
    QCOMPARE(session.host.read().bytes, PlainPeer::move(1));
}

void TestRelayLoad::peerThatTakesNothingIsTimedOut()
{
    RelaySession session({"--idle-timeout", "1"}, SmallBuffer);
    QVERIFY(session.begin());
    QVERIFY(session.host.write(scene(20000000, 's')));
    const QJsonObject leave = session.relay.event("leave");
    QCOMPARE(leave.value("client").toString(), QStringLiteral("2"));
    QCOMPARE(leave.value("reason").toString(), QStringLiteral("takes no output"));
}

QTEST_GUILESS_MAIN(TestRelayLoad)
#include "tst_relayload.moc"
