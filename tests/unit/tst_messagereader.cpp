#include "MessageReader.h"
#include "NetworkMessage.h"

#include <QIODevice>
#include <QtTest>

#include <cstring>

using namespace Quorvel;

namespace
{

using Result = MessageReader::Result;

/// A device whose bytes arrive when the test says so.
class Wire : public QIODevice
{
public:
    Wire() { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }

    void deliver(const QByteArray &bytes) { m_bytes += bytes; }
    int reads() const { return m_reads; }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_bytes.size() + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char *data, qint64 size) override
    {
        ++m_reads;
        const int taken = int(qMin<qint64>(size, m_bytes.size()));
        std::memcpy(data, m_bytes.constData(), size_t(taken));
        m_bytes.remove(0, taken);
        return taken;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    int m_reads = 0;
};

/// Kind 2 from client "7", user "Jo", data 01 ff; worked out by hand.
const QByteArray moveFrame = QByteArray::fromHex("00000015 02 00000002 0037 00000004 004a006f 00000002 01ff");
/// Kind 7 and nothing else.
const QByteArray endFrame = QByteArray::fromHex("0000000d 07 ffffffff ffffffff ffffffff");

bool isMove(const NetworkMessage &message)
{
    return message.kind == 2 && message.clientId == QLatin1String("7") &&
           message.userName == QLatin1String("Jo") && message.data == QByteArray("\x01\xff", 2);
}

} // namespace

class MessageReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void wholeFrame();
    void everySplit();
    void byteByByte();
    void headerIsTriedFromTwoBytesOn();
    void severalFrames();
    void extraBytesBelongToTheFrame();
    void malformed_data();
    void malformed();
    void tooLarge();
    void reset();
};

void MessageReaderTest::wholeFrame()
{
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    QCOMPARE(reader.next(&message), Result::Incomplete);
    wire.deliver(moveFrame);
    QCOMPARE(reader.next(&message), Result::Message);
    QVERIFY(isMove(message));
    QCOMPARE(reader.next(&message), Result::Incomplete);
}

void MessageReaderTest::everySplit()
{
    for (int at = 1; at < moveFrame.size(); ++at) {
        Wire wire;
        MessageReader reader(&wire);
        NetworkMessage message;
        wire.deliver(moveFrame.left(at));
        QCOMPARE(reader.next(&message), Result::Incomplete);
        QCOMPARE(reader.next(&message), Result::Incomplete);
        wire.deliver(moveFrame.mid(at) + endFrame);
        QCOMPARE(reader.next(&message), Result::Message);
        QVERIFY2(isMove(message), qPrintable(QString::number(at)));
        QCOMPARE(reader.next(&message), Result::Message);
        QCOMPARE(int(message.kind), 7);
        QCOMPARE(wire.bytesAvailable(), 0);
    }
}

void MessageReaderTest::byteByByte()
{
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    const QByteArray bytes = moveFrame + endFrame + moveFrame;
    QByteArray kinds;
    for (const char byte : bytes) {
        wire.deliver(QByteArray(1, byte));
        if (reader.next(&message) == Result::Message)
            kinds.append(char(message.kind));
    }
    QCOMPARE(kinds, QByteArray("\x02\x07\x02"));
}

void MessageReaderTest::headerIsTriedFromTwoBytesOn()
{
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    wire.deliver(moveFrame.left(1));
    QCOMPARE(reader.next(&message), Result::Incomplete);
    QCOMPARE(wire.reads(), 0);
    wire.deliver(moveFrame.mid(1, 1));
    QCOMPARE(reader.next(&message), Result::Incomplete);
    QVERIFY(wire.reads() > 0);
    QCOMPARE(wire.bytesAvailable(), 2);
    wire.deliver(moveFrame.mid(2));
    QCOMPARE(reader.next(&message), Result::Message);
    QVERIFY(isMove(message));
}

void MessageReaderTest::severalFrames()
{
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    wire.deliver(moveFrame + moveFrame + endFrame + moveFrame.left(9));
    QCOMPARE(reader.next(&message), Result::Message);
    QVERIFY(isMove(message));
    QCOMPARE(reader.next(&message), Result::Message);
    QVERIFY(isMove(message));
    QCOMPARE(reader.next(&message), Result::Message);
    QCOMPARE(int(message.kind), 7);
    QVERIFY(message.clientId.isNull());
    QCOMPARE(reader.next(&message), Result::Incomplete);
}

void MessageReaderTest::extraBytesBelongToTheFrame()
{
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    QByteArray longer = moveFrame + "extra";
    longer[3] = char(longer[3] + 5);
    wire.deliver(longer + endFrame);
    QCOMPARE(reader.next(&message), Result::Message);
    QVERIFY(isMove(message));
    QCOMPARE(reader.next(&message), Result::Message);
    QCOMPARE(int(message.kind), 7);
}

void MessageReaderTest::malformed_data()
{
    QTest::addColumn<QByteArray>("frame");
    const auto row = [](const char *name, const char *frame) {
        QTest::newRow(name) << QByteArray::fromHex(frame);
    };
    row("no bytes", "00000000");
    row("only a kind", "00000001 02");
    row("two fields", "00000009 02 ffffffff ffffffff");
    row("client id longer than the frame", "0000000d 02 00000010 00000000 00000000");
    row("client id of all there is", "0000000d 02 fffffffe ffffffff ffffffff");
    row("odd text", "0000000d 02 00000001 00000000 00000000");
    row("data longer than the frame", "0000000d 02 ffffffff ffffffff 00000001");
    row("data of all there is", "0000000d 02 ffffffff ffffffff fffffffe");
}

void MessageReaderTest::malformed()
{
    QFETCH(QByteArray, frame);
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    wire.deliver(frame + moveFrame);
    QCOMPARE(reader.next(&message), Result::Malformed);
    QCOMPARE(reader.next(&message), Result::Message);
    QVERIFY(isMove(message));
}

void MessageReaderTest::tooLarge()
{
    for (const char *const header : {"04000001", "7fffffff", "80000000", "ffffffff"}) {
        Wire wire;
        MessageReader reader(&wire);
        NetworkMessage message;
        wire.deliver(QByteArray::fromHex(header));
        QCOMPARE(reader.next(&message), Result::TooLarge);
    }
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    wire.deliver(QByteArray::fromHex("04000000"));
    QCOMPARE(reader.next(&message), Result::Incomplete);
}

void MessageReaderTest::reset()
{
    Wire wire;
    MessageReader reader(&wire);
    NetworkMessage message;
    wire.deliver(moveFrame.left(4));
    QCOMPARE(reader.next(&message), Result::Incomplete);
    reader.reset();
    wire.deliver(endFrame);
    QCOMPARE(reader.next(&message), Result::Message);
    QCOMPARE(int(message.kind), 7);
}

QTEST_GUILESS_MAIN(MessageReaderTest)
#include "tst_messagereader.moc"
