#pragma once

#include "PlainPeer.h"
#include "RelayProcess.h"

inline const QString SessionNumber = QStringLiteral("11111");

/// Admits a further peer: `host` answers the question that the join raises.
inline bool joinThrough(PlainPeer *host, PlainPeer *newcomer, const QString &name)
{
    if (!newcomer->write(PlainPeer::joinRequest(name, SessionNumber)))
        return false;
    const PlainPeer::Message question = host->read();
    return question.kind == 3 && host->write(PlainPeer::frame(4, question.clientId, question.userName, {})) &&
           newcomer->read().kind == 1;
}

inline QByteArray scene(int size, char fill)
{
    return PlainPeer::frame(6, QStringLiteral("1"), QStringLiteral("Ada"), QByteArray(size, fill));
}

/// A relay of its own with two peers: the first one of a session, and the next, whom the first lets in.
struct RelaySession
{
    /// A small receive buffer makes the guest a slow one.
    explicit RelaySession(const QStringList &arguments = {}, int guestBuffer = 0)
        : relay(arguments), host(relay.port()), guest(relay.port(), PlainPeer::Family::V4, guestBuffer)
    {
    }

    /// Whether both are admitted.
    bool begin()
    {
        return host.join(QStringLiteral("Ada"), SessionNumber).kind == 1 &&
               joinThrough(&host, &guest, QStringLiteral("Ben"));
    }

    RelayProcess relay;
    PlainPeer host;
    PlainPeer guest;
};
