#include "Relay.h"

#include "Connection.h"

#include <sys/socket.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

constexpr quint32 OtherFrameBytes = 64 * 1024;
constexpr int MaximumNameLength = 64;
constexpr int FirstSessionNumber = 11111;
constexpr int LastSessionNumber = 99999;
constexpr int DeadlineInterval = 500;
constexpr int AcceptPause = 1000;
constexpr qint64 StopMilliseconds = 2000;

/// A name that can stand in a question and in a line of the log.
QString presentable(const QString &name)
{
    QString shown;
    for (const uint character : name.left(MaximumNameLength).toUcs4())
        shown += QChar::isPrint(character) ? QString::fromUcs4(&character, 1) : QStringLiteral(" ");
    return shown.simplified();
}

QByteArray assignment(const QString &id)
{
    NetworkMessage message(NetworkMessage::ClientId);
    message.clientId = id;
    return toFrame(message);
}

QByteArray question(const QString &id, const QString &name)
{
    NetworkMessage message(NetworkMessage::JoinRequest);
    message.clientId = id;
    message.userName = name;
    message.data = toTextPayload(name);
    return toFrame(message);
}

QByteArray farewell()
{
    return toFrame(NetworkMessage(NetworkMessage::SessionEnded));
}

/// For a connection that there is no room for: as much as can be said without keeping it.
void turnAway(int descriptor)
{
    const QByteArray frame = farewell();
    const ssize_t sent =
        send(descriptor, frame.constData(), size_t(frame.size()), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent == frame.size())
        shutdown(descriptor, SHUT_WR);
    close(descriptor);
}

} // namespace

Relay::Relay(const RelayLimits &limits, EventLog *log, QObject *parent)
    : QTcpServer(parent), m_limits(limits), m_log(log)
{
    connect(&m_deadlines, &QTimer::timeout, this, &Relay::checkDeadlines);
    m_deadlines.start(DeadlineInterval);
    connect(this, &QTcpServer::acceptError, this, [this] {
        m_log->write(QStringLiteral("accept-failed"), {{QStringLiteral("reason"), errorString()}});
        QTimer::singleShot(AcceptPause, this, [this] {
            if (isListening())
                resumeAccepting();
        });
    });
}

Relay::~Relay()
{
    // Connections are children, and would otherwise outlive the watch.
    for (Client *client : qAsConst(m_clients))
        delete client->connection;
    qDeleteAll(m_clients);
}

void Relay::stop()
{
    if (m_stopping)
        return;
    m_stopping = true;
    close();
    const QList<int> sessions = m_sessions.keys();
    for (int session : sessions)
        m_log->write(QStringLiteral("session-end"), {{QStringLiteral("session"), session}});
    m_sessions.clear();
    for (Client *client : qAsConst(m_clients)) {
        if (client->stage != Stage::Leaving)
            dismiss(client);
    }
    QTimer::singleShot(StopMilliseconds, this, &Relay::stopped);
    checkStopped();
}

void Relay::incomingConnection(qintptr descriptor)
{
    if (m_clients.size() >= m_limits.clients) {
        turnAway(int(descriptor));
        m_log->write(QStringLiteral("full"), {{QStringLiteral("clients"), m_clients.size()}});
        return;
    }
    auto *client = new Client;
    client->id = QString::number(++m_lastId);
    client->sinceConnected.start();
    // Until it is admitted, a client has nothing long to say.
    client->connection =
        new Connection(descriptor, &m_watch, {OtherFrameBytes, OtherFrameBytes}, m_limits.idleTimeout, this);
    m_clients.insert(client);
    connect(client->connection, &Connection::frameReceived, this,
            [this, client](const WireFrame &frame) { receive(client, frame); });
    connect(client->connection, &Connection::ended, this,
            [this, client](const QString &reason) { drop(client, reason); });
    m_log->write(QStringLiteral("connect"), {{QStringLiteral("client"), client->id},
                                             {QStringLiteral("address"), client->connection->peer()}});
}

void Relay::receive(Client *client, const WireFrame &frame)
{
    switch (client->stage) {
    case Stage::New:
        receiveFirst(client, frame);
        break;
    case Stage::Participant:
        receiveFromParticipant(client, frame);
        break;
    case Stage::Waiting:
    case Stage::Leaving:
        ++client->ignoredFrames;
        break;
    }
}

void Relay::receiveFirst(Client *client, const WireFrame &frame)
{
    if (frame.kind() != NetworkMessage::JoinRequest) {
        drop(client, QStringLiteral("no join request"));
        return;
    }
    bool isText = false;
    const QString number = WireFrame::textOf(frame.data(), &isText);
    client->name = presentable(frame.userName());
    client->session = number.toInt();
    m_log->write(QStringLiteral("join"), {{QStringLiteral("client"), client->id},
                                          {QStringLiteral("session"), number.left(MaximumNameLength)},
                                          {QStringLiteral("name"), client->name}});
    if (!isText || client->session < FirstSessionNumber || client->session > LastSessionNumber) {
        client->session = 0;
        refuse(client, QStringLiteral("no such session number"));
        return;
    }
    Session &session = m_sessions[client->session];
    if (session.participants.isEmpty())
        admit(client);
    else if (session.waiting.size() >= MaximumWaiting)
        refuse(client, QStringLiteral("too many waiting"));
    else
        ask(client, &session);
}

void Relay::receiveFromParticipant(Client *client, const WireFrame &frame)
{
    Session &session = m_sessions[client->session];
    switch (frame.kind()) {
    case NetworkMessage::CameraTransform:
        session.camera = frame.bytes();
        for (Client *other : qAsConst(session.participants)) {
            if (other != client)
                queueMove(other, frame.bytes());
        }
        break;
    case NetworkMessage::SceneRecord:
        session.scene = frame.bytes();
        session.camera.clear();
        for (Client *other : qAsConst(session.participants)) {
            if (other != client)
                queue(other, frame.bytes());
        }
        m_log->write(QStringLiteral("scene"), {{QStringLiteral("client"), client->id},
                                               {QStringLiteral("session"), client->session},
                                               {QStringLiteral("bytes"), frame.bytes().size()}});
        break;
    case NetworkMessage::JoinAccepted:
    case NetworkMessage::JoinRefused:
        answer(client, frame);
        break;
    default:
        ++client->ignoredFrames;
    }
}

void Relay::ask(Client *newcomer, Session *session)
{
    newcomer->stage = Stage::Waiting;
    session->waiting.append(newcomer);
    const QByteArray frame = question(newcomer->id, newcomer->name);
    for (Client *participant : qAsConst(session->participants)) {
        newcomer->undecided.insert(participant);
        queue(participant, frame);
    }
    m_log->write(QStringLiteral("ask"), {{QStringLiteral("client"), newcomer->id},
                                         {QStringLiteral("session"), newcomer->session},
                                         {QStringLiteral("participants"), session->participants.size()}});
}

void Relay::answer(Client *participant, const WireFrame &frame)
{
    const QString id = frame.clientId();
    const QVector<Client *> waiting = m_sessions[participant->session].waiting;
    for (Client *newcomer : waiting) {
        if (newcomer->id != id || !newcomer->undecided.contains(participant))
            continue;
        const bool accepted = frame.kind() == NetworkMessage::JoinAccepted;
        m_log->write(accepted ? QStringLiteral("accept") : QStringLiteral("decline"),
                     {{QStringLiteral("client"), newcomer->id}, {QStringLiteral("by"), participant->id}});
        newcomer->undecided.remove(participant);
        if (accepted)
            admit(newcomer);
        else if (newcomer->undecided.isEmpty())
            refuse(newcomer, QStringLiteral("refused by the participants"));
        return;
    }
}

void Relay::admit(Client *client)
{
    Session &session = m_sessions[client->session];
    session.waiting.removeOne(client);
    session.participants.append(client);
    client->undecided.clear();
    client->stage = Stage::Participant;
    client->connection->setLimits({quint32(m_limits.frameBytes), OtherFrameBytes});
    queue(client, assignment(client->id));
    if (!session.scene.isEmpty())
        queue(client, session.scene);
    if (!session.camera.isEmpty())
        queueMove(client, session.camera);
    m_log->write(QStringLiteral("admit"), {{QStringLiteral("client"), client->id},
                                           {QStringLiteral("session"), client->session},
                                           {QStringLiteral("name"), client->name},
                                           {QStringLiteral("participants"), session.participants.size()}});
}

void Relay::refuse(Client *client, const QString &reason)
{
    m_log->write(QStringLiteral("refuse"), {{QStringLiteral("client"), client->id},
                                            {QStringLiteral("session"), client->session},
                                            {QStringLiteral("reason"), reason}});
    if (client->stage == Stage::Waiting)
        m_sessions[client->session].waiting.removeOne(client);
    dismiss(client);
}

void Relay::leaveSession(Client *client)
{
    Session &session = m_sessions[client->session];
    if (client->stage == Stage::Waiting) {
        session.waiting.removeOne(client);
        return;
    }
    session.participants.removeOne(client);
    const QVector<Client *> waiting = session.waiting;
    for (Client *newcomer : waiting) {
        if (newcomer->undecided.remove(client) && newcomer->undecided.isEmpty())
            refuse(newcomer, QStringLiteral("nobody left to answer"));
    }
    if (session.participants.isEmpty()) {
        m_sessions.remove(client->session);
        m_log->write(QStringLiteral("session-end"), {{QStringLiteral("session"), client->session}});
    }
}

/// Tells the client that its session has ended; the connection closes after that.
void Relay::dismiss(Client *client)
{
    client->stage = Stage::Leaving;
    client->undecided.clear();
    queue(client, farewell());
    client->connection->finish();
}

void Relay::drop(Client *client, const QString &reason)
{
    client->connection->close();
    if (client->stage == Stage::Waiting || client->stage == Stage::Participant)
        leaveSession(client);
    const Connection &connection = *client->connection;
    m_log->write(QStringLiteral("leave"),
                 {{QStringLiteral("client"), client->id},
                  {QStringLiteral("reason"), reason},
                  {QStringLiteral("received"), double(connection.receivedBytes())},
                  {QStringLiteral("sent"), double(connection.output().sentBytes())},
                  {QStringLiteral("superseded"), double(connection.output().supersededMoves())},
                  {QStringLiteral("ignored"), double(client->ignoredFrames)}});
    client->connection->deleteLater();
    m_unflushed.removeOne(client);
    m_clients.remove(client);
    delete client;
    checkStopped();
}

void Relay::queue(Client *client, const QByteArray &frame)
{
    client->connection->send(frame);
    flushSoon(client);
}

void Relay::queueMove(Client *client, const QByteArray &frame)
{
    client->connection->sendMove(frame);
    flushSoon(client);
}

void Relay::flushSoon(Client *client)
{
    if (client->needsFlush)
        return;
    client->needsFlush = true;
    m_unflushed.append(client);
    if (!m_flushPending) {
        m_flushPending = true;
        QMetaObject::invokeMethod(this, &Relay::flush, Qt::QueuedConnection);
    }
}

void Relay::flush()
{
    m_flushPending = false;
    while (!m_unflushed.isEmpty()) {
        Client *client = m_unflushed.takeLast();
        client->needsFlush = false;
        // A slow one is written to when its socket takes bytes again.
        if (!client->connection->output().isSlow())
            client->connection->flush();
        const bool isHere = m_clients.contains(client);
        if (isHere && client->connection->output().pendingBytes() > m_limits.outputBytes)
            drop(client, QStringLiteral("too much output waiting"));
    }
}

void Relay::checkDeadlines()
{
    const QSet<Client *> clients = m_clients;
    for (Client *client : clients) {
        QString reason = client->connection->overdue();
        if (client->stage == Stage::New && client->sinceConnected.hasExpired(1000LL * m_limits.idleTimeout))
            reason = QStringLiteral("no join request");
        if (!reason.isEmpty())
            drop(client, reason);
    }
}

void Relay::checkStopped()
{
    if (m_stopping && m_clients.isEmpty())
        emit stopped();
}

} // namespace Quorvel
