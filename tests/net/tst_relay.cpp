#include "RelaySession.h"

#include <QtTest>

#include <memory>
#include <vector>

/// Who is let in, and who gets what.
class TestRelay : public QObject
{
    Q_OBJECT

private slots:
    void firstOfASessionIsAdmittedAtOnce();
    void questionNamesTheOneWhoAsks();
    void namesAreMadePresentable();
    void firstAcceptAdmits();
    void refusedWhenAllRefuseOrLeave();
    void refusedWhenNobodyIsLeftToAnswer();
    void onlyThoseAskedAnswer();
    void tooManyWaitingAreRefused();
    void sessionNumbers_data();
    void sessionNumbers();
    void movesAndScenesStayInTheirSession();
    void laterParticipantGetsSceneAndCamera();
    void sceneForgetsTheCameraBefore();
    void sessionEndsWithItsLastParticipant();
    void leavingAndJoiningAgain();
    void listensOnIpV6();
    void everyoneIsToldOfTheEnd_data();
    void everyoneIsToldOfTheEnd();
    void portInUseIsReported();
};

void TestRelay::firstOfASessionIsAdmittedAtOnce()
{
    RelayProcess relay;
    PlainPeer peer(relay.port());
    QCOMPARE(peer.join("Ada", SessionNumber).bytes.toHex(' '),
             QByteArray("00 00 00 0f 01 00 00 00 02 00 31 ff ff ff ff ff ff ff ff"));
    PlainPeer elsewhere(relay.port());
    const PlainPeer::Message answer = elsewhere.join("Ben", "22222");
    QCOMPARE(answer.kind, 1);
    QCOMPARE(answer.clientId, QStringLiteral("2"));
    QVERIFY(peer.isQuiet());
}

void TestRelay::questionNamesTheOneWhoAsks()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    PlainPeer newcomer(relay.port());
    QVERIFY(newcomer.write(PlainPeer::frame(3, "an old id", "Jo", PlainPeer::text(SessionNumber))));
    QCOMPARE(host.read().bytes.toHex(' '), QByteArray("00 00 00 1b 03 "
                                                      "00 00 00 02 00 32 "
                                                      "00 00 00 04 00 4a 00 6f "
                                                      "00 00 00 08 00 00 00 04 00 4a 00 6f"));
    QVERIFY(newcomer.isQuiet());
    QVERIFY(host.write(PlainPeer::frame(4, "2", "Jo", {})));
    const PlainPeer::Message answer = newcomer.read();
    QCOMPARE(answer.kind, 1);
    QCOMPARE(answer.clientId, QStringLiteral("2"));
}

void TestRelay::namesAreMadePresentable()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    PlainPeer newcomer(relay.port());
    const QString face = QString::fromUtf8("\xf0\x9f\x99\x82");
    const QString name = QStringLiteral(" Jo\n{\"event\":1}\u202e\x1b[1m ") + face + QString(100, 'x');
    QVERIFY(newcomer.write(PlainPeer::joinRequest(name, SessionNumber)));
    const QString shown = QStringLiteral("Jo {\"event\":1} [1m ") + face + QString(41, 'x');
    QCOMPARE(host.read().userName, shown);
    QCOMPARE(relay.event("ask").value("client").toString(), QStringLiteral("2"));
}

void TestRelay::firstAcceptAdmits()
{
    RelaySession session;
    QVERIFY(session.begin());
    PlainPeer third(session.relay.port());
    QVERIFY(third.write(PlainPeer::joinRequest("Cleo", SessionNumber)));
    QCOMPARE(session.host.read().clientId, QStringLiteral("3"));
    QCOMPARE(session.guest.read().clientId, QStringLiteral("3"));
    QVERIFY(session.host.write(PlainPeer::frame(5, "3", "Cleo", {})));
    QCOMPARE(session.relay.event("decline").value("by").toString(), QStringLiteral("1"));
    QVERIFY(third.isQuiet());
    QVERIFY(session.guest.write(PlainPeer::frame(4, "3", "Cleo", {})));
    QCOMPARE(third.read().kind, 1);
    QVERIFY(session.guest.write(PlainPeer::frame(5, "3", "Cleo", {})));
    QVERIFY(third.isQuiet());
}

void TestRelay::refusedWhenAllRefuseOrLeave()
{
    RelaySession session;
    QVERIFY(session.begin());
    PlainPeer third(session.relay.port());
    QVERIFY(third.write(PlainPeer::joinRequest("Cleo", SessionNumber)));
    QCOMPARE(session.host.read().kind, 3);
    session.guest.close();
    QVERIFY(third.isQuiet());
    QVERIFY(session.host.write(PlainPeer::frame(5, "3", "Cleo", {})));
    QCOMPARE(third.read().bytes.toHex(' '), QByteArray("00 00 00 0d 07 ff ff ff ff ff ff ff ff ff ff ff ff"));
    QVERIFY(third.isEnded());
    QVERIFY(session.host.isQuiet());
}

void TestRelay::refusedWhenNobodyIsLeftToAnswer()
{
    RelayProcess relay;
    PlainPeer first(relay.port());
    PlainPeer second(relay.port());
    QCOMPARE(first.join("Ada", SessionNumber).kind, 1);
    QVERIFY(second.write(PlainPeer::joinRequest("Ben", SessionNumber)));
    QCOMPARE(first.read().kind, 3);
    first.close();
    QCOMPARE(second.read().kind, 7);
    QVERIFY(second.isEnded());
}

void TestRelay::onlyThoseAskedAnswer()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    PlainPeer stranger(relay.port());
    PlainPeer newcomer(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    QCOMPARE(stranger.join("Mallory", "22222").kind, 1);
    QVERIFY(newcomer.write(PlainPeer::joinRequest("Cleo", SessionNumber)));
    const PlainPeer::Message question = host.read();
    const QByteArray accept = PlainPeer::frame(4, question.clientId, question.userName, {});
    QVERIFY(stranger.write(accept));
    QVERIFY(newcomer.write(accept));
    QVERIFY(host.write(PlainPeer::frame(4, "99", "nobody", {})));
    QVERIFY(newcomer.isQuiet());
    QVERIFY(host.write(accept));
    QCOMPARE(newcomer.read().kind, 1);
}

void TestRelay::tooManyWaitingAreRefused()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    std::vector<std::unique_ptr<PlainPeer>> waiting;
    for (int i = 0; i < 16; ++i) {
        waiting.push_back(std::make_unique<PlainPeer>(relay.port()));
        QVERIFY(waiting.back()->write(PlainPeer::joinRequest("Ben", SessionNumber)));
        QCOMPARE(host.read().kind, 3);
    }
    PlainPeer last(relay.port());
    QCOMPARE(last.join("Cleo", SessionNumber).kind, 7);
    QVERIFY(last.isEnded());
    QVERIFY(host.isQuiet());
    QVERIFY(waiting.front()->isQuiet());
}

void TestRelay::sessionNumbers_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<int>("kind");
    QTest::newRow("first") << PlainPeer::text("11111") << 1;
    QTest::newRow("last") << PlainPeer::text("99999") << 1;
    QTest::newRow("below") << PlainPeer::text("11110") << 7;
    QTest::newRow("above") << PlainPeer::text("100000") << 7;
    QTest::newRow("negative") << PlainPeer::text("-11111") << 7;
    QTest::newRow("letters") << PlainPeer::text("one") << 7;
    QTest::newRow("empty") << PlainPeer::text("") << 7;
    QTest::newRow("absent") << PlainPeer::number(0xffffffff) << 7;
    QTest::newRow("no payload") << QByteArray() << 7;
    QTest::newRow("text that does not end") << PlainPeer::number(10) + QByteArray("\0"
                                                                                  "1",
                                                                                  2)
                                            << 7;
    QTest::newRow("half a character") << PlainPeer::number(1) + QByteArray("1") << 7;
}

void TestRelay::sessionNumbers()
{
    QFETCH(QByteArray, data);
    QFETCH(int, kind);
    RelayProcess relay;
    PlainPeer peer(relay.port());
    QVERIFY(peer.write(PlainPeer::frame(3, {}, "Ada", data)));
    QCOMPARE(peer.read().kind, kind);
    if (kind == 7)
        QVERIFY(peer.isEnded());
}

void TestRelay::movesAndScenesStayInTheirSession()
{
    RelaySession session;
    QVERIFY(session.begin());
    PlainPeer third(session.relay.port());
    PlainPeer elsewhere(session.relay.port());
    QVERIFY(third.write(PlainPeer::joinRequest("Cleo", SessionNumber)));
    QCOMPARE(session.guest.read().kind, 3);
    QCOMPARE(session.host.read().kind, 3);
    QVERIFY(session.guest.write(PlainPeer::frame(4, "3", "Cleo", {})));
    QCOMPARE(third.read().kind, 1);
    QCOMPARE(elsewhere.join("Dora", "22222").kind, 1);

    const QByteArray shown = scene(100000, 's');
    QVERIFY(session.host.write(shown + PlainPeer::move(1) + PlainPeer::move(2)));
    for (PlainPeer *peer : {&session.guest, &third}) {
        QVERIFY(peer->read().bytes == shown);
        QCOMPARE(peer->read().bytes, PlainPeer::move(1));
        QCOMPARE(peer->read().bytes, PlainPeer::move(2));
    }
    QVERIFY(session.guest.write(PlainPeer::move(3)));
    QCOMPARE(session.host.read().bytes, PlainPeer::move(3));
    QCOMPARE(third.read().bytes, PlainPeer::move(3));
    for (PlainPeer *peer : {&session.host, &session.guest, &third, &elsewhere})
        QVERIFY(peer->isQuiet(20));
}

void TestRelay::laterParticipantGetsSceneAndCamera()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    QVERIFY(host.write(scene(10, 'a') + scene(20, 'b') + PlainPeer::move(1) + PlainPeer::move(2)));
    PlainPeer later(relay.port());
    QVERIFY(joinThrough(&host, &later, "Ben"));
    QCOMPARE(later.read().bytes, scene(20, 'b'));
    QCOMPARE(later.read().bytes, PlainPeer::move(2));
    QVERIFY(later.isQuiet());
}

void TestRelay::sceneForgetsTheCameraBefore()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    QVERIFY(host.write(PlainPeer::move(1) + scene(20, 'b')));
    PlainPeer later(relay.port());
    QVERIFY(joinThrough(&host, &later, "Ben"));
    QCOMPARE(later.read().bytes, scene(20, 'b'));
    QVERIFY(later.isQuiet());
}

void TestRelay::sessionEndsWithItsLastParticipant()
{
    RelayProcess relay;
    {
        PlainPeer host(relay.port());
        QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
        QVERIFY(host.write(scene(20, 'b')));
        QCOMPARE(relay.event("scene").value("bytes").toInt(), scene(20, 'b').size());
    }
    QCOMPARE(relay.event("session-end").value("session").toInt(), 11111);
    PlainPeer next(relay.port());
    QCOMPARE(next.join("Ben", SessionNumber).kind, 1);
    QVERIFY(next.isQuiet());
}

void TestRelay::leavingAndJoiningAgain()
{
    RelayProcess relay;
    PlainPeer host(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    QVERIFY(host.write(scene(20, 'b')));
    for (const char *id : {"2", "3"}) {
        PlainPeer guest(relay.port());
        QVERIFY(joinThrough(&host, &guest, "Ben"));
        QCOMPARE(guest.read().bytes, scene(20, 'b'));
        guest.shutDownWriting();
        QCOMPARE(relay.event("leave").value("client").toString(), QLatin1String(id));
        QVERIFY(guest.isEnded());
    }
    QVERIFY(host.write(PlainPeer::move(1)));
    QVERIFY(host.isQuiet());
}

void TestRelay::listensOnIpV6()
{
    RelayProcess relay({}, "[::1]:0");
    QVERIFY(relay.port() != 0);
    PlainPeer peer(relay.port(), PlainPeer::Family::V6);
    QCOMPARE(peer.join("Ada", SessionNumber).kind, 1);
    QVERIFY(relay.event("connect").value("address").toString().startsWith("[::1]:"));
}

void TestRelay::everyoneIsToldOfTheEnd_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("status");
    QTest::newRow("terminated") << SIGTERM << 0;
    QTest::newRow("interrupted") << SIGINT << 130;
}

void TestRelay::everyoneIsToldOfTheEnd()
{
    QFETCH(int, signal);
    QFETCH(int, status);
    RelayProcess relay;
    PlainPeer host(relay.port());
    PlainPeer waiting(relay.port());
    PlainPeer silent(relay.port());
    QCOMPARE(host.join("Ada", SessionNumber).kind, 1);
    QVERIFY(waiting.write(PlainPeer::joinRequest("Ben", SessionNumber)));
    QCOMPARE(host.read().kind, 3);
    relay.signal(signal);
    for (PlainPeer *peer : {&host, &waiting, &silent}) {
        QCOMPARE(peer->read().kind, 7);
        QVERIFY(peer->isEnded());
    }
    QCOMPARE(relay.event("session-end").value("session").toInt(), 11111);
    // One of them never closes its side.
    host.close();
    waiting.close();
    QCOMPARE(relay.end(), status);
}

void TestRelay::portInUseIsReported()
{
    RelayProcess relay;
    QProcess second;
    second.start(QStringLiteral(QUORVEL_SESSION),
                 {"--listen", QStringLiteral("127.0.0.1:%1").arg(relay.port())});
    QVERIFY(second.waitForFinished());
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(second.readAllStandardError().startsWith(
        QStringLiteral("quorvel-session: 127.0.0.1:%1: ").arg(relay.port()).toUtf8()));
}

QTEST_GUILESS_MAIN(TestRelay)
#include "tst_relay.moc"
