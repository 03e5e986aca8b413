#include "NetworkMessage.h"

#include <QDataStream>
#include <QtTest>

using namespace Quorvel;

class TestNetworkMessage : public QObject
{
    Q_OBJECT

private slots:
    void frameIsLengthKindIdNameData();
    void absentTextsAndDataAreNull();
    void messageReadsBack();
};

void TestNetworkMessage::frameIsLengthKindIdNameData()
{
    NetworkMessage message(NetworkMessage::CameraTransform);
    message.clientId = QStringLiteral("7");
    message.userName = QStringLiteral("Jo");
    message.data = QByteArray("\x01\xff", 2);
    QCOMPARE(toFrame(message).toHex(' '), QByteArray("00 00 00 15 "
                                                     "02 "
                                                     "00 00 00 02 00 37 "
                                                     "00 00 00 04 00 4a 00 6f "
                                                     "00 00 00 02 01 ff"));
}

void TestNetworkMessage::absentTextsAndDataAreNull()
{
    QCOMPARE(toFrame(NetworkMessage(NetworkMessage::SessionEnded)).toHex(' '),
             QByteArray("00 00 00 0d 07 ff ff ff ff ff ff ff ff ff ff ff ff"));
}

void TestNetworkMessage::messageReadsBack()
{
    NetworkMessage sent(NetworkMessage::JoinRequest);
    sent.clientId = QStringLiteral("client");
    sent.userName = QStringLiteral("J\u00fcrgen");
    sent.data = QByteArray(1000, 'x');
    QByteArray frame = toFrame(sent);
    QDataStream stream(&frame, QIODevice::ReadOnly);
    stream.setVersion(QDataStream::Qt_4_0);
    quint32 length = 0;
    NetworkMessage received;
    stream >> length >> received;
    QCOMPARE(int(length), frame.size() - 4);
    QVERIFY(stream.atEnd());
    QCOMPARE(received.kind, sent.kind);
    QCOMPARE(received.clientId, sent.clientId);
    QCOMPARE(received.userName, sent.userName);
    QCOMPARE(received.data, sent.data);
}

QTEST_GUILESS_MAIN(TestNetworkMessage)
#include "tst_networkmessage.moc"
