#pragma once

#include "EventLog.h"
#include "NetworkMessage.h"
#include "SocketWatch.h"
#include "WireFrame.h"

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QTcpServer>
#include <QTimer>

namespace Quorvel
{

class Connection;

struct RelayLimits
{
    /// Connections of any kind, those that wait to be admitted included.
    int clients = 256;
    /// The longest scene frame, as the length in front of it counts; viewers take no longer ones.
    /// Other frames end at 64 KiB.
    qint64 frameBytes = MaximumFrameSize;
    /// What may wait to be sent to one client before it is dropped; at least one longest frame.
    qint64 outputBytes = 4 * frameBytes;
    /// Seconds; see Connection::overdue.
    int idleTimeout = 60;
};

/// Brings viewers together in sessions by number and passes on what they show (docs/sessions.md states every
/// rule). Works in the thread of its event loop and never looks into scenes.
class Relay : public QTcpServer
{
    Q_OBJECT

public:
    /// A session asks its participants about no more than so many newcomers at a time.
    static constexpr int MaximumWaiting = 16;

    /// The log must outlive the relay.
    Relay(const RelayLimits &limits, EventLog *log, QObject *parent = nullptr);
    ~Relay() override;

    /// Takes no more connections, ends every session, and emits `stopped` when all are told, or soon after.
    void stop();

signals:
    void stopped();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    enum class Stage { New, Waiting, Participant, Leaving };

    struct Client
    {
        Connection *connection = nullptr;
        QString id;
        QString name;
        Stage stage = Stage::New;
        /// Valid from stage Waiting on.
        int session = 0;
        /// Who was asked about this waiting client and has not refused.
        QSet<Client *> undecided;
        QElapsedTimer sinceConnected;
        quint64 ignoredFrames = 0;
        bool needsFlush = false;
    };

    struct Session
    {
        QVector<Client *> participants;
        QVector<Client *> waiting;
        /// The newest scene, and the newest camera move since then; whole frames.
        QByteArray scene;
        QByteArray camera;
    };

    void receive(Client *client, const WireFrame &frame);
    void receiveFirst(Client *client, const WireFrame &frame);
    void receiveFromParticipant(Client *client, const WireFrame &frame);
    void ask(Client *newcomer, Session *session);
    void answer(Client *participant, const WireFrame &frame);
    void admit(Client *client);
    void refuse(Client *client, const QString &reason);
    /// Takes the client out of its session, and ends the session after its last participant.
    void leaveSession(Client *client);
    void dismiss(Client *client);
    void drop(Client *client, const QString &reason);

    void queue(Client *client, const QByteArray &frame);
    void queueMove(Client *client, const QByteArray &frame);
    void flushSoon(Client *client);
    void flush();
    void checkDeadlines();
    void checkStopped();

    RelayLimits m_limits;
    EventLog *m_log;
    SocketWatch m_watch;
    QTimer m_deadlines;
    QSet<Client *> m_clients;
    QHash<int, Session> m_sessions;
    QVector<Client *> m_unflushed;
    quint64 m_lastId = 0;
    bool m_flushPending = false;
    bool m_stopping = false;
};

} // namespace Quorvel
