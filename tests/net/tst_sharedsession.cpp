#include "JoinedSession.h"
#include "MessageCapture.h"

using namespace Quorvel;

namespace
{

const QByteArray id7 = SessionPeer::utf16("7");
const QByteArray jo = SessionPeer::utf16("Jo");

bool isKind(const NetworkMessage &message, int kind)
{
    return message.kind == kind;
}

} // namespace

/// Joining a session, and what is made of what comes in.
class Listener : public QObject
{
    Q_OBJECT

public slots:
    void listen(const NetworkMessage &message) { heard.append(message); }

public:
    QList<NetworkMessage> heard;
};

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
    void signalIsKnownByItsPlainName_data();
    void signalIsKnownByItsPlainName();
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
};

void TestSharedSession::serversListenOnPort80()
{
    QCOMPARE(int(SharedSession().port()), 80);
}

void TestSharedSession::messageOfASession()
{
    JoinedSession joined;
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
    JoinedSession joined;
    QVERIFY(joined.join());
    QVERIFY(!joined.session.isActive());
    const MessageCapture capture;
    QVERIFY(joined.activate());
    QCOMPARE(MessageCapture::lines(), {QStringLiteral("SharedSession: clientId: \"7\"")});
    QVERIFY(joined.messages.isEmpty());
}

void TestSharedSession::clientIdIsReplaced()
{
    JoinedSession joined;
    QVERIFY(joined.join());
    QVERIFY(joined.activate("7"));
    QVERIFY(joined.activate("8"));
    QVERIFY(joined.session.isActive());
}

void TestSharedSession::activeUntilTheEnd()
{
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
    QVERIFY(joined.join());
    joined.deliver(SessionPeer::frame(2) + SessionPeer::frame(3) + SessionPeer::frame(6));
    QVERIFY(joined.waitForMessages(3));
    QCOMPARE(joined.kinds(), QByteArray("236"));
    QVERIFY(!joined.session.isActive());
}

void TestSharedSession::signalIsKnownByItsPlainName_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("direct") << int(Qt::DirectConnection);
    // Copies the message by the name of its type.
    QTest::newRow("queued") << int(Qt::QueuedConnection);
}

void TestSharedSession::signalIsKnownByItsPlainName()
{
    QFETCH(int, type);
    JoinedSession joined;
    Listener listener;
    QVERIFY(QObject::connect(&joined.session, SIGNAL(messageReceived(NetworkMessage)), &listener,
                             SLOT(listen(NetworkMessage)), Qt::ConnectionType(type)));
    QVERIFY(joined.join());
    joined.deliver(SessionPeer::frame(6, SessionPeer::utf16("8"), {}, "scene"));
    QTRY_COMPARE(listener.heard.size(), 1);
    QCOMPARE(listener.heard.first().data, QByteArray("scene"));
}

void TestSharedSession::fieldsOfReceivedMessages()
{
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
    QVERIFY(joined.join());
    joined.deliver(SessionPeer::frame(2) + SessionPeer::frame(1, id7));
    joined.peer.hangUp();
    QVERIFY(joined.waitForMessages(1));
    QVERIFY(QTest::qWaitFor([&] { return joined.session.clientId() == QLatin1String("7"); }));
    QVERIFY(QTest::qWaitFor([&] { return !joined.session.isActive(); }));
}

void TestSharedSession::malformedFrameIsDropped()
{
    JoinedSession joined;
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
    JoinedSession joined;
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
        JoinedSession joined;
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
    JoinedSession joined;
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
    JoinedSession joined;
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

QTEST_GUILESS_MAIN(TestSharedSession)
#include "tst_sharedsession.moc"
