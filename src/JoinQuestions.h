#pragma once

#include "NetworkMessage.h"

#include <QObject>
#include <QQueue>

#include <functional>

namespace Quorvel
{

class SharedSession;

/// The join requests of other participants, put to the person in front of the window one at a time.
///
/// A question is asked from the event loop, not while a message is being received, so that camera moves and
/// scenes go on coming in while it stands. Requests that are still waiting when the connection goes are
/// dropped. GUI thread.
class JoinQuestions : public QObject
{
    Q_OBJECT

public:
    /// How many wait besides the one that is asked; more are refused at once, with a warning.
    static constexpr int MaximumWaiting = 16;

    /// Asks about a request and returns whether it is granted. May run an event loop.
    using Ask = std::function<bool(const NetworkMessage &request)>;

    /// `session`, which gets the answers, must outlive this.
    JoinQuestions(SharedSession *session, const Ask &ask, QObject *parent = nullptr);

    void add(const NetworkMessage &request);
    /// Drops what waits. A question that stands stays.
    void clear() { m_waiting.clear(); }

private:
    void askAll();

    SharedSession *const m_session;
    const Ask m_ask;
    QQueue<NetworkMessage> m_waiting;
    bool m_isAsking = false;
};

} // namespace Quorvel
