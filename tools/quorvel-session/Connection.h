#pragma once

#include "FrameSplitter.h"
#include "OutputQueue.h"
#include "SocketWatch.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>

namespace Quorvel
{

/// One peer's TCP connection: bytes in and out, no meaning. Owns the socket. Never blocks.
///
/// What is sent waits in the queue until `flush`, so that what one turn of the event loop gathers leaves in
/// few writes.
class Connection : public QObject, private SocketWatch::Owner
{
    Q_OBJECT

public:
    /// Takes over a connected socket. A peer that is gone without a word is found out by keep-alive probes
    /// within `idleTimeout` seconds or a little more.
    /// The watch must outlive the connection.
    Connection(qintptr descriptor, SocketWatch *watch, const FrameSplitter::Limits &limits, int idleTimeout,
               QObject *parent);
    ~Connection() override;

    QString peer() const { return m_peer; }
    const OutputQueue &output() const { return m_output; }
    quint64 receivedBytes() const { return m_receivedBytes; }

    void setLimits(const FrameSplitter::Limits &limits) { m_reader.setLimits(limits); }

    void send(const QByteArray &frame) { m_output.push(frame); }
    void sendMove(const QByteArray &frame) { m_output.pushMove(frame); }
    void flush();

    /// No frame is given out from now on; when everything is sent the peer is told that nothing follows, and
    /// `ended` comes when it closes too.
    void finish();
    /// Ends the connection at once, without `ended`.
    void close();

    /// Why the peer has used up its time, or nothing: a frame that came to a halt or comes too slowly, or
    /// output that is not taken. Silence between frames is no reason.
    QString overdue() const;

signals:
    void frameReceived(const WireFrame &frame);
    /// The peer is gone, or sent what is no frame. Nothing follows.
    void ended(const QString &reason);

private:
    void prepare(int idleTimeout);
    void socketReadable() override;
    void socketWritable() override { flush(); }
    void takeInput(const char *bytes, int size);
    void end(const QString &reason);

    int m_descriptor;
    QString m_peer;
    FrameSplitter m_reader;
    OutputQueue m_output;
    SocketWatch *m_watch;
    bool m_watchesOutput = false;
    qint64 m_idleMilliseconds;
    QElapsedTimer m_sinceInput;
    QElapsedTimer m_sinceFrameBegan;
    QElapsedTimer m_sinceOutput;
    QElapsedTimer m_sinceFinish;
    quint64 m_receivedBytes = 0;
    bool m_saidLast = false;
};

} // namespace Quorvel
