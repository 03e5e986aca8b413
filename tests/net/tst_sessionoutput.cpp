#include "MessageCapture.h"
#include "SessionPeer.h"
#include "SharedSession.h"

#include <QtTest>

using namespace Quorvel;

namespace
{

/// What the kernel may hold of a connection on the loopback interface, at both ends; and the frames' own
/// fields.
constexpr qint64 Elsewhere = 32 << 20;

/// A session that a server has let in, which reads nothing until it is told to.
struct Connected
{
    bool join()
    {
        session.join(QStringLiteral("127.0.0.1"), QStringLiteral("quest"), QStringLiteral("11111"));
        if (!QTest::qWaitFor([this] { return peer.accept(); }))
            return false;
        SessionPeer::Frame request;
        if (!takeFrame(&request))
            return false;
        peer.send(SessionPeer::frame(1, SessionPeer::utf16("7")));
        return QTest::qWaitFor([this] { return session.isActive(); });
    }
    bool takeFrame(SessionPeer::Frame *frame)
    {
        return QTest::qWaitFor([this, frame] { return peer.takeFrame(frame); }, 60000);
    }
    /// A message that begins with its number.
    void send(quint8 kind, int number, int size)
    {
        NetworkMessage message(session, kind);
        message.data = QByteArray::number(number).leftJustified(size);
        session.send(message);
        QCoreApplication::processEvents();
    }
    void sendScene(int number) { send(NetworkMessage::SceneRecord, number, sceneSize); }
    void sendMove(int number) { send(NetworkMessage::CameraTransform, number, moveSize); }

    static int numberOf(const SessionPeer::Frame &frame) { return frame.data.left(8).trimmed().toInt(); }

    static constexpr int sceneSize = 60 << 20;
    /// Larger than a camera's, so that few of them reach the limit.
    static constexpr int moveSize = 1 << 20;

    SessionPeer peer;
    SharedSession session{nullptr, peer.port()};
};

} // namespace

/// What a session does with its output while the server does not read it.
class TestSessionOutput : public QObject
{
    Q_OBJECT

private slots:
    void twoOfTheLargestFrames();
    void dropsMovesBeyondTheLimit();
    void sceneReplacesTheMoveThatWaits();
    void sceneBeyondTheLimitClosesTheConnection();
    void answerBeyondTheLimitClosesTheConnection();

private:
    /// Sends scenes and moves, numbered from 0, until moves are dropped for certain; returns how many scenes.
    static int fill(Connected *connected, int moves);
};

int TestSessionOutput::fill(Connected *connected, int moves)
{
    constexpr int scenes = 2;
    for (int i = 0; i < scenes; ++i)
        connected->sendScene(i);
    for (int i = 0; i < moves; ++i)
        connected->sendMove(i);
    return scenes;
}

void TestSessionOutput::twoOfTheLargestFrames()
{
    Connected connected;
    QVERIFY(connected.join());
    const MessageCapture capture;
    // A kind, the lengths of two texts and the count of the data.
    const int nameSize = 2 * connected.session.userName().size() + 2 * connected.session.clientId().size();
    const int largest = int(MaximumFrameSize) - 13 - nameSize;
    for (int i = 0; i < 2; ++i)
        connected.send(NetworkMessage::SceneRecord, i, largest);
    QVERIFY(connected.session.isActive());
    SessionPeer::Frame frame;
    for (int i = 0; i < 2; ++i) {
        QVERIFY(connected.takeFrame(&frame));
        QCOMPARE(frame.data.size(), largest);
        QCOMPARE(Connected::numberOf(frame), i);
    }
    QCOMPARE(MessageCapture::lines(), QStringList());
}

void TestSessionOutput::dropsMovesBeyondTheLimit()
{
    Connected connected;
    QVERIFY(connected.join());
    const MessageCapture capture;
    constexpr int moves = 100;
    const int scenes = fill(&connected, moves);
    QVERIFY(connected.session.isActive());

    // It reads again.
    SessionPeer::Frame frame;
    qint64 received = 0;
    for (int i = 0; i < scenes; ++i) {
        QVERIFY(connected.takeFrame(&frame));
        QCOMPARE(frame.kind, 6);
        QCOMPARE(Connected::numberOf(frame), i);
        received += frame.data.size();
    }
    // There is room again, and the last move brings the newest state.
    int arrived = 0;
    for (int last = -1; last < moves - 1; last = Connected::numberOf(frame)) {
        QVERIFY(connected.takeFrame(&frame));
        QCOMPARE(frame.kind, 2);
        QVERIFY(Connected::numberOf(frame) > last);
        received += frame.data.size();
        ++arrived;
    }
    QVERIFY2(arrived > 1 && arrived < moves, qPrintable(QString::number(arrived)));
    QVERIFY2(received < SharedSession::MaximumOutput + Elsewhere, qPrintable(QString::number(received)));
    QVERIFY2(received > SharedSession::MaximumOutput - 2 * qint64(Connected::moveSize),
             qPrintable(QString::number(received)));
    QCOMPARE(MessageCapture::lines(), QStringList());
}

void TestSessionOutput::sceneReplacesTheMoveThatWaits()
{
    Connected connected;
    QVERIFY(connected.join());
    constexpr int moves = 100;
    fill(&connected, moves);
    // Small enough for the room that no move fits into.
    connected.send(NetworkMessage::SceneRecord, 7, 100);
    QVERIFY(connected.session.isActive());

    SessionPeer::Frame frame;
    do {
        QVERIFY(connected.takeFrame(&frame));
        QVERIFY(frame.kind == 6 || Connected::numberOf(frame) < moves - 1);
    } while (frame.kind != 6 || Connected::numberOf(frame) != 7);
    QVERIFY(!QTest::qWaitFor([&] { return connected.peer.takeFrame(&frame); }, 500));
}

void TestSessionOutput::sceneBeyondTheLimitClosesTheConnection()
{
    Connected connected;
    QVERIFY(connected.join());
    const int scenes = fill(&connected, 50);
    const MessageCapture capture;
    connected.sendScene(scenes);
    QCOMPARE(MessageCapture::lines(),
             {QStringLiteral("SharedSession: more than 134217736 bytes wait to be sent, connection closed")});
    QVERIFY(!connected.session.isActive());
    QVERIFY(QTest::qWaitFor([&] { return connected.peer.isClosed(); }, 60000));

    // What waited is gone, and the next connection begins anew.
    QVERIFY(connected.join());
    connected.sendMove(1);
    SessionPeer::Frame frame;
    QVERIFY(connected.takeFrame(&frame));
    QCOMPARE(frame.kind, 2);
    QCOMPARE(Connected::numberOf(frame), 1);
}

void TestSessionOutput::answerBeyondTheLimitClosesTheConnection()
{
    Connected connected;
    QVERIFY(connected.join());
    fill(&connected, 50);
    const MessageCapture capture;
    // Less than a move, so that answers fill what moves left.
    NetworkMessage request(NetworkMessage::JoinRequest);
    request.userName = QString(1 << 16, QLatin1Char('x'));
    for (int i = 0; i < 100 && connected.session.isConnected(); ++i)
        connected.session.answer(request, false);
    QVERIFY(!connected.session.isConnected());
    QVERIFY(!connected.session.isActive());
    QCOMPARE(MessageCapture::lines(),
             {QStringLiteral("SharedSession: more than 134217736 bytes wait to be sent, connection closed")});
}

QTEST_GUILESS_MAIN(TestSessionOutput)
#include "tst_sessionoutput.moc"
