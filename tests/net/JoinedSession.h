#pragma once

#include "SessionPeer.h"
#include "SharedSession.h"

#include <QtTest>

namespace Quorvel
{

/// A session and its server's end, with what the session hands on.
struct JoinedSession
{
    JoinedSession()
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

} // namespace Quorvel
