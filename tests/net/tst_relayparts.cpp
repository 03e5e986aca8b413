#include "EventLog.h"
#include "FrameSplitter.h"
#include "OutputQueue.h"
#include "PlainPeer.h"
#include "SessionOptions.h"

#include <QtTest>

#include <csignal>

#include <fcntl.h>

using namespace Quorvel;

Q_DECLARE_METATYPE(QHostAddress)

namespace
{

constexpr FrameSplitter::Limits Limits = {1000000, 1000};

/// Two connected sockets; the first does not take much before it refuses.
struct SocketPair
{
    SocketPair()
    {
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends);
        const int size = 4096;
        setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    }
    ~SocketPair()
    {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    QByteArray readAll() const
    {
        QByteArray all;
        char buffer[65536];
        for (ssize_t size; (size = recv(ends[1], buffer, sizeof buffer, 0)) > 0;)
            all.append(buffer, int(size));
        return all;
    }

    int ends[2] = {-1, -1};
};

/// Sends all that is left, and returns what has come out.
QByteArray drained(OutputQueue *queue, const SocketPair &sockets)
{
    QByteArray received = sockets.readAll();
    while (queue->write(sockets.ends[0]) == OutputQueue::Progress::Waiting)
        received += sockets.readAll();
    return received + sockets.readAll();
}

} // namespace

/// The pieces of the relay that need no network.
class TestRelayParts : public QObject
{
    Q_OBJECT

private slots:
    void frameIsReadInAnyPieces();
    void longFrameIsReadInSmallPieces();
    void lengthIsRefusedAsSoonAsItIsKnown();
    void limitsDependOnTheKind();
    void faultIsFinal();
    void absentFieldsAreEmpty();
    void queueKeepsOrderAndBytes();
    void slowQueueKeepsTheNewestMove();
    void begunMoveIsFinished();
    void movesThatGatherAreReplaced();
    void deadSocketFails();
    void textLines();
    void logNobodyReadsIsCutNotWaitedFor();
    void defaults();
    void everyOptionIsRead();
    void endpoints_data();
    void endpoints();
    void refusedCommandLines_data();
    void refusedCommandLines();
    void versionAndHelp();
};

void TestRelayParts::frameIsReadInAnyPieces()
{
    const QByteArray bytes = PlainPeer::frame(4, "7", QString::fromUtf8("J\xc3\xbcrgen"), "data");
    for (int split = 1; split <= bytes.size(); ++split) {
        FrameSplitter splitter(Limits);
        WireFrame frame;
        QCOMPARE(splitter.take(bytes.constData(), split, &frame), split);
        if (split < bytes.size()) {
            QVERIFY(frame.isEmpty());
            QVERIFY(splitter.isInsideFrame());
            const int rest = bytes.size() - split;
            QCOMPARE(splitter.take(bytes.constData() + split, rest, &frame), rest);
        }
        QVERIFY(frame.isWellFormed() && !splitter.isInsideFrame());
        QCOMPARE(frame.bytes(), bytes);
        QCOMPARE(int(frame.kind()), 4);
        QCOMPARE(frame.clientId(), QStringLiteral("7"));
        QCOMPARE(frame.userName(), QString::fromUtf8("J\xc3\xbcrgen"));
        QCOMPARE(frame.data(), QByteArray("data"));
    }
}

void TestRelayParts::longFrameIsReadInSmallPieces()
{
    const QByteArray bytes = PlainPeer::frame(6, "7", "Jo", QByteArray(900000, 's')) + PlainPeer::move(1);
    FrameSplitter splitter(Limits);
    WireFrame frame;
    QVector<WireFrame> frames;
    for (int position = 0; position < bytes.size();) {
        position += splitter.take(bytes.constData() + position, qMin(1009, bytes.size() - position), &frame);
        if (!frame.isEmpty())
            frames.append(frame);
    }
    QCOMPARE(frames.size(), 2);
    QVERIFY(frames.at(0).bytes() + frames.at(1).bytes() == bytes);
}

void TestRelayParts::lengthIsRefusedAsSoonAsItIsKnown()
{
    for (const quint32 length : {0u, 12u, 1000001u, 0x7fffffffu, 0xffffffffu}) {
        FrameSplitter splitter(Limits);
        WireFrame frame;
        splitter.take(PlainPeer::number(length).constData(), 4, &frame);
        QVERIFY(frame.isEmpty());
        QCOMPARE(splitter.fault(),
                 length < 13 ? FrameSplitter::Fault::Malformed : FrameSplitter::Fault::TooLong);
    }
}

void TestRelayParts::limitsDependOnTheKind()
{
    for (int kind = 0; kind < 256; ++kind) {
        FrameSplitter splitter(Limits);
        WireFrame frame;
        const QByteArray head = PlainPeer::number(1001) + char(kind);
        splitter.take(head.constData(), head.size(), &frame);
        QCOMPARE(splitter.fault(), kind == 6 ? FrameSplitter::Fault::None : FrameSplitter::Fault::TooLong);
    }
}

void TestRelayParts::faultIsFinal()
{
    FrameSplitter splitter(Limits);
    WireFrame frame;
    const QByteArray bytes = PlainPeer::number(3) + PlainPeer::move(1);
    QCOMPARE(splitter.take(bytes.constData(), bytes.size(), &frame), bytes.size());
    QCOMPARE(splitter.take(PlainPeer::move(1).constData(), 10, &frame), 10);
    QVERIFY(frame.isEmpty());
    QCOMPARE(splitter.fault(), FrameSplitter::Fault::Malformed);
}

void TestRelayParts::absentFieldsAreEmpty()
{
    const WireFrame frame(QByteArray::fromHex("0000000d03ffffffffffffffffffffffff"));
    QVERIFY(frame.isWellFormed());
    QVERIFY(frame.clientId().isEmpty() && frame.userName().isEmpty() && frame.data().isEmpty());
}

void TestRelayParts::queueKeepsOrderAndBytes()
{
    const SocketPair sockets;
    OutputQueue queue;
    QByteArray all;
    for (int i = 0; i < 3; ++i) {
        const QByteArray scene(50000, char('a' + i));
        queue.push(scene);
        all += scene;
    }
    QCOMPARE(queue.pendingBytes(), qint64(150000));
    QByteArray received;
    while (queue.write(sockets.ends[0]) == OutputQueue::Progress::Waiting) {
        QVERIFY(queue.isSlow());
        received += sockets.readAll();
    }
    received += sockets.readAll();
    QVERIFY(received == all);
    QVERIFY(!queue.isSlow() && queue.isEmpty());
    QCOMPARE(queue.pendingBytes(), qint64(0));
    QCOMPARE(queue.sentBytes(), quint64(150000));
}

void TestRelayParts::slowQueueKeepsTheNewestMove()
{
    const SocketPair sockets;
    OutputQueue queue;
    const QByteArray scene(50000, 's');
    queue.push(scene);
    QCOMPARE(queue.write(sockets.ends[0]), OutputQueue::Progress::Waiting);
    queue.pushMove("one");
    queue.pushMove("two");
    queue.push("scene");
    queue.pushMove("three");
    QCOMPARE(queue.supersededMoves(), quint64(2));
    QVERIFY(drained(&queue, sockets) == scene + "scenethree");
    QCOMPARE(queue.pendingBytes(), qint64(0));
}

void TestRelayParts::begunMoveIsFinished()
{
    const SocketPair sockets;
    OutputQueue queue;
    const QByteArray first(50000, 'm');
    queue.pushMove(first);
    QCOMPARE(queue.write(sockets.ends[0]), OutputQueue::Progress::Waiting);
    queue.pushMove("two");
    queue.pushMove("three");
    QCOMPARE(queue.supersededMoves(), quint64(1));
    QVERIFY(drained(&queue, sockets) == first + "three");
}

void TestRelayParts::movesThatGatherAreReplaced()
{
    const SocketPair sockets;
    OutputQueue queue;
    for (int i = 0; i < OutputQueue::MaximumMoves; ++i)
        queue.pushMove(QByteArray(1, 'a'));
    QCOMPARE(queue.supersededMoves(), quint64(0));
    queue.push("scene");
    queue.pushMove("b");
    QCOMPARE(queue.supersededMoves(), quint64(OutputQueue::MaximumMoves));
    QCOMPARE(queue.write(sockets.ends[0]), OutputQueue::Progress::Drained);
    QCOMPARE(sockets.readAll(), QByteArray("sceneb"));
}

void TestRelayParts::deadSocketFails()
{
    SocketPair sockets;
    ::close(sockets.ends[1]);
    sockets.ends[1] = -1;
    OutputQueue queue;
    queue.push("frame");
    QCOMPARE(queue.write(sockets.ends[0]), OutputQueue::Progress::Failed);
    QCOMPARE(errno, EPIPE);
}

void TestRelayParts::textLines()
{
    QCOMPARE(EventLog::textLine("admit", {{"client", "3"},
                                          {"address", "[::1]:8080"},
                                          {"session", 11111},
                                          {"bytes", 40000000000.0},
                                          {"name", "Ada \"L\"\n=x"},
                                          {"empty", ""}}),
             QStringLiteral("admit client=3 address=[::1]:8080 session=11111 bytes=40000000000 "
                            "name=\"Ada \\\"L\\\"\\n=x\" empty=\"\""));
}

void TestRelayParts::logNobodyReadsIsCutNotWaitedFor()
{
    int ends[2];
    QCOMPARE(pipe2(ends, O_NONBLOCK), 0);
    fcntl(ends[1], F_SETFL, 0);
    EventLog log(ends[1], EventLog::Format::Text);
    constexpr int events = 20000;
    for (int i = 0; i < events; ++i)
        log.write("event", {{"number", i}});
    const auto readAll = [&ends] {
        QByteArray all;
        char buffer[65536];
        for (ssize_t size; (size = read(ends[0], buffer, sizeof buffer)) > 0;)
            all.append(buffer, int(size));
        return all;
    };
    const int kept = readAll().count('\n');
    QVERIFY(kept > 100 && kept < events);
    log.write("event", {{"number", events}});
    QCOMPARE(
        readAll(),
        QStringLiteral("events-lost count=%1\nevent number=%2\n").arg(events - kept).arg(events).toUtf8());
    ::close(ends[0]);
    std::signal(SIGPIPE, SIG_IGN);
    log.write("event", {});
    ::close(ends[1]);
}

void TestRelayParts::defaults()
{
    SessionOptions options;
    QString error;
    QVERIFY(parseSessionOptions({}, &options, &error));
    QCOMPARE(options.address, QHostAddress(QHostAddress::LocalHost));
    QCOMPARE(int(options.port), 80);
    QCOMPARE(options.limits.clients, 256);
    QCOMPARE(options.limits.frameBytes, qint64(64) << 20);
    QCOMPARE(options.limits.outputBytes, qint64(256) << 20);
    QCOMPARE(options.limits.idleTimeout, 60);
    QVERIFY(options.format == EventLog::Format::Text);
}

void TestRelayParts::everyOptionIsRead()
{
    SessionOptions options;
    QString error;
    QVERIFY2(parseSessionOptions({"--listen", "10.0.0.1:8080", "--max-clients", "7", "--max-frame", "1M",
                                  "--max-output", "2000000", "--idle-timeout", "5", "--json"},
                                 &options, &error),
             qPrintable(error));
    QCOMPARE(options.address, QHostAddress("10.0.0.1"));
    QCOMPARE(int(options.port), 8080);
    QCOMPARE(options.limits.clients, 7);
    QCOMPARE(options.limits.frameBytes, qint64(1) << 20);
    QCOMPARE(options.limits.outputBytes, qint64(2000000));
    QCOMPARE(options.limits.idleTimeout, 5);
    QVERIFY(options.format == EventLog::Format::Json);
    QVERIFY(parseSessionOptions({"--max-frame", "1M"}, &options, &error));
    QCOMPARE(options.limits.outputBytes, qint64(4) << 20);
    QVERIFY(parseSessionOptions({"-q", "--json"}, &options, &error));
    QVERIFY(options.format == EventLog::Format::Silent);
}

void TestRelayParts::endpoints_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QHostAddress>("address");
    QTest::addColumn<int>("port");
    QTest::newRow("IPv4") << "192.168.1.2:8080" << QHostAddress("192.168.1.2") << 8080;
    QTest::newRow("every IPv4") << "0.0.0.0:80" << QHostAddress(QHostAddress::AnyIPv4) << 80;
    QTest::newRow("IPv6") << "[::1]:80" << QHostAddress(QHostAddress::LocalHostIPv6) << 80;
    QTest::newRow("every IPv6") << "[::]:80" << QHostAddress(QHostAddress::AnyIPv6) << 80;
    QTest::newRow("every address") << "*:0" << QHostAddress(QHostAddress::Any) << 0;
}

void TestRelayParts::endpoints()
{
    QFETCH(QString, text);
    QFETCH(QHostAddress, address);
    QFETCH(int, port);
    SessionOptions options;
    QString error;
    QVERIFY2(parseSessionOptions({"--listen", text}, &options, &error), qPrintable(error));
    QVERIFY(options.address == address);
    QCOMPARE(options.address.protocol(), address.protocol());
    QCOMPARE(int(options.port), port);
}

void TestRelayParts::refusedCommandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");
    const auto row = [](const QStringList &arguments, const QString &error) {
        QTest::newRow(qPrintable(arguments.join(QLatin1Char(' ')))) << arguments << error;
    };
    for (const char *endpoint : {"80", "127.0.0.1", "127.0.0.1:", ":80", "::1:80", "[::1]", "1.2.3:80",
                                 "1.2.3.4:65536", "1.2.3.400:80", "[fe80]:80", "localhost:80"})
        row({"--listen", endpoint},
            QStringLiteral(
                "--listen %1: expected an address and a port, such as 127.0.0.1:80, [::1]:80 or *:80")
                .arg(QLatin1String(endpoint)));
    const QString suffixes = QStringLiteral(", with or without K, M or G behind it");
    row({"--max-clients", "0"}, "--max-clients 0: expected a whole number from 1 to 60000");
    row({"--max-frame", "65535"}, "--max-frame 65535: expected a number of bytes from 64K to 1G" + suffixes);
    row({"--max-frame", "2G"}, "--max-frame 2G: expected a number of bytes from 64K to 1G" + suffixes);
    row({"--max-frame", "1T"}, "--max-frame 1T: expected a number of bytes from 64K to 1G" + suffixes);
    row({"--max-frame", "-1"}, "--max-frame -1: expected a number of bytes from 64K to 1G" + suffixes);
    row({"--max-output", "many"}, "--max-output many: expected a number of bytes" + suffixes);
    row({"--max-output", "64K"}, "--max-output 65536: less than one longest frame (67108864)");
    row({"--idle-timeout", "0"}, "--idle-timeout 0: expected a whole number from 1 to 86400");
    row({"--no-such-option"}, "Unknown option 'no-such-option'.");
    row({"word"}, "unexpected word \"word\"");
}

void TestRelayParts::refusedCommandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);
    SessionOptions options;
    QString said;
    QVERIFY(!parseSessionOptions(arguments, &options, &said));
    QCOMPARE(said, error);
}

void TestRelayParts::versionAndHelp()
{
    SessionOptions options;
    QString error;
    QVERIFY(parseSessionOptions({"--version"}, &options, &error));
    QVERIFY(options.request == SessionOptions::Request::Text);
    QCOMPARE(options.text, QStringLiteral("quorvel-session " QUORVEL_VERSION "\n"));
    QVERIFY(parseSessionOptions({"-h"}, &options, &error));
    QVERIFY(options.text.contains("--max-output"));
}

QTEST_GUILESS_MAIN(TestRelayParts)
#include "tst_relayparts.moc"
