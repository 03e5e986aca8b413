#include "JoinedSession.h"
#include "MessageCapture.h"
#include "RecordRoundTrip.h"
#include "SceneAssembly.h"

#include <QMatrix4x4>

#include <random>

using namespace Quorvel;

namespace
{

/// A complete scene of about that many bytes of record, which does not compress well.
class NoisyScene
{
public:
    explicit NoisyScene(int bytes)
    {
        SceneAssembly assembly(&m_scene);
        std::mt19937 random(1);
        std::uniform_real_distribution<float> number(-1.0f, 1.0f);
        QVector<QVector3D> vertices(bytes / 24);
        for (QVector3D &vertex : vertices)
            vertex = QVector3D(number(random), number(random), number(random));
        assembly.geometry(QStringLiteral("g"), vertices);
        assembly.node(QStringLiteral("c"), nullptr, assembly.camera(QStringLiteral("c")));
        m_scene.complete();
    }
    const Scene &scene() const { return m_scene; }

private:
    Scene m_scene;
};

} // namespace

/// What a session sends, and when: whole frames in their order, while the window stays usable.
class TestSharedSending : public QObject
{
    Q_OBJECT

private slots:
    void sendsFrames();
    void sendingWithoutConnection();
    void tooLargeToSend();
    void deadPeer();
    void sceneIsFollowedByWhatWasSentLater();
    void scenesWaitTheirTurn();
    void largeScene();
    void brokenConnectionDropsWhatWaits();
    void endOfTheProgramDuringCompression();
};

void TestSharedSending::sendsFrames()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate());
    NetworkMessage request(NetworkMessage::JoinRequest);
    request.clientId = QStringLiteral("8");
    request.userName = QStringLiteral("Jo");
    request.data = "data";
    joined.session.answer(request, false);
    joined.session.answer(request, true);
    joined.session.sendCamera(QMatrix4x4());
    const QByteArray one = QByteArray::fromHex("3ff0000000000000");
    const QByteArray frames =
        QByteArray::fromHex("00000013 05 00000002 0038 00000004 004a 006f ffffffff"
                            "00000013 04 00000002 0038 00000004 004a 006f ffffffff"
                            "00000099 02 00000002 0037 0000000a 0071 0075 0065 0073 0074 00000080") +
        one + QByteArray(32, '\0') + one + QByteArray(32, '\0') + one + QByteArray(32, '\0') + one;
    QVERIFY(QTest::qWaitFor([&] {
        joined.peer.receive();
        return joined.peer.received().size() >= frames.size();
    }));
    QCOMPARE(joined.peer.received().toHex(' '), frames.toHex(' '));
}

void TestSharedSending::sendingWithoutConnection()
{
    SharedSession session;
    session.send(NetworkMessage(session, NetworkMessage::CameraTransform));
    session.sendJoinMessage();
    QVERIFY(!session.isActive());
}

void TestSharedSending::tooLargeToSend()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    const MessageCapture capture;
    QSignalSpy notSent(&joined.session, &SharedSession::sceneNotSent);
    NetworkMessage message(NetworkMessage::SceneRecord);
    message.data = QByteArray(64 * 1024 * 1024 - 12, 'x');
    joined.session.send(message);
    QCOMPARE(notSent.value(0).value(0).toString(),
             QStringLiteral(
                 "The others do not get this scene: it takes 65 MiB, and a shared session carries 64 MiB."));
    QCOMPARE(MessageCapture::lines(),
             {QStringLiteral("SharedSession: a message of 67108869 bytes is too large to send")});
    joined.session.send(NetworkMessage(NetworkMessage::CameraTransform));
    SessionPeer::Frame frame;
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.kind, 2);
}

void TestSharedSending::deadPeer()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    NetworkMessage scene(NetworkMessage::SceneRecord);
    scene.data = QByteArray(60 * 1024 * 1024, 's');
    QElapsedTimer timer;
    timer.start();
    joined.session.send(scene);
    const qint64 sceneTime = timer.restart();
    constexpr int moves = 600;
    for (int i = 0; i < moves; ++i) {
        NetworkMessage move(NetworkMessage::CameraTransform);
        move.data = QByteArray::number(i);
        joined.session.send(move);
        QCoreApplication::processEvents();
    }
    const qint64 moveTime = timer.restart();
    qInfo("60 MiB to a peer that does not read: %lld ms, then %d moves: %lld ms", sceneTime, moves, moveTime);
    QVERIFY(sceneTime < 1000);
    QVERIFY(moveTime < 1000);

    // It comes back to life.
    SessionPeer::Frame frame;
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.kind, 6);
    QVERIFY(frame.data == scene.data);
    for (int i = 0; i < moves; ++i) {
        QVERIFY(joined.takeFrame(&frame));
        QCOMPARE(frame.kind, 2);
        QCOMPARE(frame.data, QByteArray::number(i));
    }
}

void TestSharedSending::sceneIsFollowedByWhatWasSentLater()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    const NoisyScene noisy(8 << 20);
    NetworkMessage move(joined.session, NetworkMessage::CameraTransform);
    move.data = "before";
    joined.session.send(move);
    joined.session.sendScene(noisy.scene());
    for (int i = 0; i < 100; ++i) {
        move.data = QByteArray::number(i);
        joined.session.send(move);
    }
    SessionPeer::Frame frame;
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.data, QByteArray("before"));
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.kind, 6);
    QCOMPARE(frame.userName, SessionPeer::utf16("quest"));
    QVERIFY(qUncompress(frame.data) == saved(noisy.scene()));
    for (int i = 0; i < 100; ++i) {
        QVERIFY(joined.takeFrame(&frame));
        QCOMPARE(frame.data, QByteArray::number(i));
    }
}

void TestSharedSending::scenesWaitTheirTurn()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    const NoisyScene large(4 << 20);
    const NoisyScene small(1 << 10);
    joined.session.sendScene(large.scene());
    joined.session.sendScene(small.scene());
    joined.session.send(NetworkMessage(NetworkMessage::CameraTransform));
    SessionPeer::Frame frame;
    QVERIFY(joined.takeFrame(&frame));
    QVERIFY(qUncompress(frame.data) == saved(large.scene()));
    QVERIFY(joined.takeFrame(&frame));
    QVERIFY(qUncompress(frame.data) == saved(small.scene()));
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.kind, 2);
}

void TestSharedSending::largeScene()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    const NoisyScene noisy(64 << 20);
    QElapsedTimer timer;
    timer.start();
    joined.session.sendScene(noisy.scene());
    const qint64 call = timer.restart();
    // The event loop turns while the scene is compressed; the longest turn is what a person would notice.
    qint64 longest = 0;
    SessionPeer::Frame frame;
    QElapsedTimer turn;
    bool arrived = false;
    while (!arrived && timer.elapsed() < 60000) {
        turn.start();
        QCoreApplication::processEvents();
        longest = qMax(longest, turn.elapsed());
        arrived = joined.peer.takeFrame(&frame);
        QThread::msleep(1);
    }
    qInfo("64 MiB of record, %d MiB compressed, arrived after %lld ms; call %lld ms, longest turn %lld ms",
          frame.data.size() >> 20, timer.elapsed(), call, longest);
    QCOMPARE(frame.kind, 6);
    QVERIFY(call < timer.elapsed() / 4);
    QVERIFY(longest < timer.elapsed() / 4);
    QVERIFY(qUncompress(frame.data) == saved(noisy.scene()));
}

void TestSharedSending::brokenConnectionDropsWhatWaits()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    const NoisyScene noisy(8 << 20);
    joined.session.sendScene(noisy.scene());
    joined.session.send(NetworkMessage(NetworkMessage::CameraTransform));
    QVERIFY(joined.join(QStringLiteral("22222")));
    QCOMPARE(joined.request.kind, 3);
    // Long enough for the compression to come to its end.
    QTest::qWait(1000);
    joined.session.send(NetworkMessage(NetworkMessage::JoinRefused));
    SessionPeer::Frame frame;
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.kind, 5);
}

void TestSharedSending::endOfTheProgramDuringCompression()
{
    const NoisyScene noisy(8 << 20);
    JoinedSession joined;
    QVERIFY(joined.join());
    joined.session.sendScene(noisy.scene());
}

QTEST_GUILESS_MAIN(TestSharedSending)
#include "tst_sharedsending.moc"
