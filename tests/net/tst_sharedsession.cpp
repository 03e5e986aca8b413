#include "MessageCapture.h"
#include "RecordRoundTrip.h"
#include "SceneAssembly.h"
#include "ScenePayload.h"
#include "SessionPeer.h"
#include "SharedSession.h"

#include <QMatrix4x4>
#include <QtTest>

#include <random>

using namespace Quorvel;

namespace
{

const QByteArray id7 = SessionPeer::utf16("7");
const QByteArray jo = SessionPeer::utf16("Jo");

bool isKind(const NetworkMessage &message, int kind)
{
    return message.kind == kind;
}

/// A session and its server's end, with what the session hands on.
struct Joined
{
    Joined()
    {
        QObject::connect(&session, &SharedSession::messageReceived,
                         [this](const NetworkMessage &message) { messages.append(message); });
    }

    /// Connects and takes the join request off.
    bool join(const QString &number = QStringLiteral("11111"))
    {
        session.join(QStringLiteral("127.0.0.1"), QStringLiteral("quest"), number);
        return QTest::qWaitFor([this] { return peer.accept(); }) && takeFrame(&request);
    }
    bool activate(const char *id = "7")
    {
        deliver(SessionPeer::frame(1, SessionPeer::utf16(id)));
        return QTest::qWaitFor(
            [this, id] { return session.isActive() && session.clientId() == QLatin1String(id); });
    }
    bool takeFrame(SessionPeer::Frame *frame)
    {
        return QTest::qWaitFor([this, frame] { return peer.takeFrame(frame); });
    }
    void deliver(const QByteArray &bytes)
    {
        for (int at = 0; at < bytes.size();) {
            at += peer.send(bytes.mid(at, 1 << 20));
            QCoreApplication::processEvents();
        }
    }
    bool waitForMessages(int count)
    {
        return QTest::qWaitFor([this, count] { return messages.size() >= count; });
    }
    QByteArray kinds() const
    {
        QByteArray result;
        for (const NetworkMessage &message : messages)
            result.append(char('0' + message.kind));
        return result;
    }

    SessionPeer peer;
    SharedSession session{nullptr, peer.port()};
    QList<NetworkMessage> messages;
    SessionPeer::Frame request;
};

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

class TestSharedSession : public QObject
{
    Q_OBJECT

private slots:
    void serversListenOnPort80();
    void messageOfASession();

    void joinRequest();
    void clientIdActivates();
    void clientIdIsReplaced();
    void activeUntilTheEnd();
    void activeUntilTheConnectionBreaks();
    void joiningAgainLeavesFirst();
    void unreachableServer();

    void receivedBeforeActive();
    void fieldsOfReceivedMessages();
    void everyOtherKindIsInvalid();
    void framesSplitAtEveryByte();
    void framesByteByByte();
    void severalFramesInOneRead();
    void framesInFrontOfAHangUp();
    void malformedFrameIsDropped();
    void largestFrame();
    void tooLargeFrame();
    void floodDuringAnAnswer();
    void joiningDuringAnAnswer();

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

void TestSharedSession::serversListenOnPort80()
{
    QCOMPARE(int(SharedSession().port()), 80);
}

void TestSharedSession::messageOfASession()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate());
    const NetworkMessage message(joined.session, NetworkMessage::JoinAccepted);
    QCOMPARE(int(message.kind), 4);
    QCOMPARE(message.clientId, QStringLiteral("7"));
    QCOMPARE(message.userName, QStringLiteral("quest"));
    QVERIFY(message.data.isNull());
}

// Joining

void TestSharedSession::joinRequest()
{
    SessionPeer peer;
    SharedSession session(nullptr, peer.port());
    session.join(QStringLiteral("localhost"), QStringLiteral("Jo"), QStringLiteral("99999"));
    QVERIFY(QTest::qWaitFor([&] { return peer.accept(); }));
    const QByteArray request = QByteArray::fromHex("0000001f" // 31 bytes follow
                                                   "03"       // join request
                                                   "ffffffff" // no client id yet
                                                   "00000004 004a 006f"
                                                   "0000000e 0000000a 0039 0039 0039 0039 0039");
    QVERIFY(QTest::qWaitFor([&] {
        peer.receive();
        return peer.received().size() >= request.size();
    }));
    QCOMPARE(peer.received().toHex(' '), request.toHex(' '));
    QVERIFY(!session.isActive());
}

void TestSharedSession::clientIdActivates()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(!joined.session.isActive());
    const MessageCapture capture;
    QVERIFY(joined.activate());
    QCOMPARE(MessageCapture::lines(), {QStringLiteral("SharedSession: clientId: \"7\"")});
    QVERIFY(joined.messages.isEmpty());
}

void TestSharedSession::clientIdIsReplaced()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate("7"));
    QVERIFY(joined.activate("8"));
    QVERIFY(joined.session.isActive());
}

void TestSharedSession::activeUntilTheEnd()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate());
    joined.deliver(SessionPeer::frame(7));
    QVERIFY(QTest::qWaitFor([&] { return !joined.session.isActive(); }));
    QVERIFY(joined.messages.isEmpty());
    // The connection stays, and the server may take us in again.
    QVERIFY(joined.activate("9"));
}

void TestSharedSession::activeUntilTheConnectionBreaks()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate());
    joined.peer.hangUp();
    QVERIFY(QTest::qWaitFor([&] { return !joined.session.isActive(); }));
    // Nothing is retried.
    QTest::qWait(200);
    QVERIFY(!joined.peer.accept());
    QVERIFY(joined.join());
    QVERIFY(joined.activate("8"));
}

void TestSharedSession::joiningAgainLeavesFirst()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate());
    // A frame that has begun ends with its connection.
    joined.deliver(SessionPeer::frame(2, id7, jo).left(7));
    QTest::qWait(50);
    joined.session.join(QStringLiteral("127.0.0.1"), QStringLiteral("Jo"), QStringLiteral("22222"));
    QVERIFY(!joined.session.isActive());
    QVERIFY(QTest::qWaitFor([&] { return joined.peer.isClosed(); }));
    QVERIFY(QTest::qWaitFor([&] { return joined.peer.accept(); }));
    SessionPeer::Frame request;
    QVERIFY(joined.takeFrame(&request));
    QCOMPARE(request.kind, 3);
    QCOMPARE(request.clientId, id7);
    QCOMPARE(request.userName, jo);
    QCOMPARE(request.data, SessionPeer::word(10) + SessionPeer::utf16("22222"));
    QVERIFY(joined.activate("8"));
    QCOMPARE(joined.session.sessionNumber(), QStringLiteral("22222"));
}

void TestSharedSession::unreachableServer()
{
    Joined joined;
    joined.peer.stopListening();
    const MessageCapture capture;
    joined.session.join(QStringLiteral("127.0.0.1"), QStringLiteral("quest"), QStringLiteral("11111"));
    QTest::qWait(200);
    QVERIFY(!joined.session.isActive());
    QCOMPARE(MessageCapture::lines(), QStringList());
}

// Receiving

void TestSharedSession::receivedBeforeActive()
{
    Joined joined;
    QVERIFY(joined.join());
    joined.deliver(SessionPeer::frame(2) + SessionPeer::frame(3) + SessionPeer::frame(6));
    QVERIFY(joined.waitForMessages(3));
    QCOMPARE(joined.kinds(), QByteArray("236"));
    QVERIFY(!joined.session.isActive());
}

void TestSharedSession::fieldsOfReceivedMessages()
{
    Joined joined;
    QVERIFY(joined.join());
    // Kind 3 from client "7", user "Jo", with the name in place of the number; by hand.
    joined.deliver(
        QByteArray::fromHex("0000001b 03 00000002 0037 00000004 004a006f 00000008 00000004 004a006f"));
    QVERIFY(joined.waitForMessages(1));
    const NetworkMessage &message = joined.messages.first();
    QVERIFY(isKind(message, 3));
    QCOMPARE(message.clientId, QStringLiteral("7"));
    QCOMPARE(message.userName, QStringLiteral("Jo"));
    QCOMPARE(fromTextPayload(message.data), QStringLiteral("Jo"));
}

void TestSharedSession::everyOtherKindIsInvalid()
{
    Joined joined;
    QVERIFY(joined.join());
    const MessageCapture capture;
    QByteArray bytes;
    QStringList warnings;
    for (int kind = 0; kind < 256; ++kind) {
        if (kind == 1 || kind == 2 || kind == 3 || kind == 6 || kind == 7)
            continue;
        bytes += SessionPeer::frame(kind, id7, jo, "data");
        warnings.append(QStringLiteral("SharedSession: invalid message %1").arg(kind));
    }
    joined.deliver(bytes + SessionPeer::frame(2));
    QVERIFY(joined.waitForMessages(1));
    QCOMPARE(joined.kinds(), QByteArray("2"));
    QCOMPARE(MessageCapture::lines(), warnings);
    QVERIFY(warnings.contains(QStringLiteral("SharedSession: invalid message 4")));
    QVERIFY(warnings.contains(QStringLiteral("SharedSession: invalid message 5")));
    QVERIFY(!joined.session.isActive());
}

void TestSharedSession::framesSplitAtEveryByte()
{
    Joined joined;
    QVERIFY(joined.join());
    const QByteArray first = SessionPeer::frame(2, id7, jo, "first");
    const QByteArray second = SessionPeer::frame(6, id7, jo, "second");
    const QByteArray bytes = first + second;
    for (int at = 1; at < bytes.size(); ++at) {
        joined.messages.clear();
        joined.deliver(bytes.left(at));
        // Long enough for the piece to be read on its own.
        QTest::qWait(2);
        QCOMPARE(joined.messages.size(), at < first.size() ? 0 : 1);
        joined.deliver(bytes.mid(at));
        QVERIFY2(joined.waitForMessages(2), qPrintable(QString::number(at)));
        QCOMPARE(joined.kinds(), QByteArray("26"));
        QCOMPARE(joined.messages.at(0).data, QByteArray("first"));
        QCOMPARE(joined.messages.at(1).data, QByteArray("second"));
    }
}

void TestSharedSession::framesByteByByte()
{
    Joined joined;
    QVERIFY(joined.join());
    const QByteArray bytes =
        SessionPeer::frame(1, id7) + SessionPeer::frame(2, id7, jo, "x") + SessionPeer::frame(7);
    int activated = 0;
    for (int i = 0; i < bytes.size(); ++i) {
        joined.deliver(bytes.mid(i, 1));
        QTest::qWait(2);
        activated += joined.session.isActive() ? 1 : 0;
    }
    QVERIFY(activated > 0);
    QVERIFY(!joined.session.isActive());
    QCOMPARE(joined.kinds(), QByteArray("2"));
}

void TestSharedSession::severalFramesInOneRead()
{
    Joined joined;
    QVERIFY(joined.join());
    QByteArray bytes = SessionPeer::frame(1, id7);
    for (int i = 0; i < 500; ++i)
        bytes += SessionPeer::frame(2, id7, jo, QByteArray::number(i));
    const QByteArray last = SessionPeer::frame(3, id7, jo);
    joined.deliver(bytes + last.left(10));
    QVERIFY(joined.waitForMessages(500));
    QVERIFY(joined.session.isActive());
    for (int i = 0; i < 500; ++i)
        QCOMPARE(joined.messages.at(i).data, QByteArray::number(i));
    joined.deliver(last.mid(10));
    QVERIFY(joined.waitForMessages(501));
}

void TestSharedSession::framesInFrontOfAHangUp()
{
    Joined joined;
    QVERIFY(joined.join());
    joined.deliver(SessionPeer::frame(2) + SessionPeer::frame(1, id7));
    joined.peer.hangUp();
    QVERIFY(joined.waitForMessages(1));
    QVERIFY(QTest::qWaitFor([&] { return joined.session.clientId() == QLatin1String("7"); }));
    QVERIFY(QTest::qWaitFor([&] { return !joined.session.isActive(); }));
}

void TestSharedSession::malformedFrameIsDropped()
{
    Joined joined;
    QVERIFY(joined.join());
    const MessageCapture capture;
    joined.deliver(QByteArray::fromHex("00000005 02 fffffffe") + SessionPeer::word(0) +
                   SessionPeer::frame(2));
    QVERIFY(joined.waitForMessages(1));
    const QString warning = QStringLiteral("SharedSession: malformed message");
    QCOMPARE(MessageCapture::lines(), QStringList({warning, warning}));
}

void TestSharedSession::largestFrame()
{
    Joined joined;
    QVERIFY(joined.join());
    const QByteArray data(64 * 1024 * 1024 - 13, 'x');
    joined.deliver(SessionPeer::frame(6, QByteArray(), QByteArray(), data) + SessionPeer::frame(2));
    QVERIFY(joined.waitForMessages(2));
    QCOMPARE(joined.kinds(), QByteArray("62"));
    QVERIFY(joined.messages.first().data == data);
}

void TestSharedSession::tooLargeFrame()
{
    for (const quint32 size : {64u * 1024 * 1024 + 1, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
        Joined joined;
        QVERIFY(joined.join());
        QVERIFY(joined.activate());
        const MessageCapture capture;
        joined.deliver(SessionPeer::frame(2) + SessionPeer::word(size) + SessionPeer::frame(2));
        QVERIFY(QTest::qWaitFor([&] { return joined.peer.isClosed(); }));
        QVERIFY(!joined.session.isActive());
        QCOMPARE(joined.kinds(), QByteArray("2"));
        QCOMPARE(MessageCapture::lines(),
                 {QStringLiteral("SharedSession: frame of more than 67108864 bytes, connection closed")});
        QVERIFY(joined.join());
        QVERIFY(joined.activate("8"));
    }
}

void TestSharedSession::floodDuringAnAnswer()
{
    // While the view asks a question, its event loop runs on and bytes go on coming.
    Joined joined;
    QVERIFY(joined.join());
    const QByteArray move = SessionPeer::frame(2, id7, jo, QByteArray(100000, 'm'));
    constexpr int moves = 2000;
    int sent = 0;
    QByteArray rest;
    bool asked = false;
    QObject::connect(&joined.session, &SharedSession::messageReceived, [&](const NetworkMessage &message) {
        if (message.kind != 3)
            return;
        asked = true;
        // 200 MB, of which the session must not take in more than a frame's worth before it reads on.
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 3000 && sent < moves) {
            if (rest.isEmpty()) {
                rest = move;
                ++sent;
            }
            rest.remove(0, joined.peer.send(rest));
            QCoreApplication::processEvents();
        }
        QVERIFY(joined.kinds() == "3");
    });
    joined.deliver(SessionPeer::frame(3));
    QVERIFY(QTest::qWaitFor([&] { return asked; }));
    QVERIFY2(qint64(sent) * move.size() < 100 * 1024 * 1024, qPrintable(QString::number(sent)));
    const QByteArray last = rest + SessionPeer::frame(2);
    joined.deliver(last);
    QVERIFY(joined.waitForMessages(1 + sent + 1));
}

void TestSharedSession::joiningDuringAnAnswer()
{
    Joined joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate());
    QObject::connect(&joined.session, &SharedSession::messageReceived, [&](const NetworkMessage &message) {
        if (message.kind == 3)
            joined.session.join(QStringLiteral("127.0.0.1"), QStringLiteral("Jo"), QStringLiteral("22222"));
    });
    // What the old connection still held is not for the new one.
    joined.deliver(SessionPeer::frame(3) + SessionPeer::frame(1, SessionPeer::utf16("old")) +
                   SessionPeer::frame(2));
    QVERIFY(joined.waitForMessages(1));
    QVERIFY(QTest::qWaitFor([&] { return joined.peer.accept(); }));
    SessionPeer::Frame request;
    QVERIFY(joined.takeFrame(&request));
    QCOMPARE(joined.kinds(), QByteArray("3"));
    QVERIFY(!joined.session.isActive());
    QVERIFY(joined.activate("new"));
}

// Sending

void TestSharedSession::sendsFrames()
{
    Joined joined;
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

void TestSharedSession::sendingWithoutConnection()
{
    SharedSession session;
    session.send(NetworkMessage(session, NetworkMessage::CameraTransform));
    session.sendJoinMessage();
    QVERIFY(!session.isActive());
}

void TestSharedSession::tooLargeToSend()
{
    Joined joined;
    QVERIFY(joined.join());
    const MessageCapture capture;
    NetworkMessage message(NetworkMessage::SceneRecord);
    message.data = QByteArray(64 * 1024 * 1024 - 12, 'x');
    joined.session.send(message);
    QCOMPARE(MessageCapture::lines(),
             {QStringLiteral("SharedSession: a message of 67108869 bytes is too large to send")});
    joined.session.send(NetworkMessage(NetworkMessage::CameraTransform));
    SessionPeer::Frame frame;
    QVERIFY(joined.takeFrame(&frame));
    QCOMPARE(frame.kind, 2);
}

void TestSharedSession::deadPeer()
{
    Joined joined;
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

void TestSharedSession::sceneIsFollowedByWhatWasSentLater()
{
    Joined joined;
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

void TestSharedSession::scenesWaitTheirTurn()
{
    Joined joined;
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

void TestSharedSession::largeScene()
{
    Joined joined;
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

void TestSharedSession::brokenConnectionDropsWhatWaits()
{
    Joined joined;
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

void TestSharedSession::endOfTheProgramDuringCompression()
{
    const NoisyScene noisy(8 << 20);
    Joined joined;
    QVERIFY(joined.join());
    joined.session.sendScene(noisy.scene());
}

QTEST_GUILESS_MAIN(TestSharedSession)
#include "tst_sharedsession.moc"
