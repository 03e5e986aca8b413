#include "JoinQuestions.h"

#include "SharedSession.h"

#include <QScopedValueRollback>

namespace Quorvel
{

JoinQuestions::JoinQuestions(SharedSession *session, const Ask &ask, QObject *parent)
    : QObject(parent), m_session(session), m_ask(ask)
{
}

void JoinQuestions::add(const NetworkMessage &request)
{
    if (m_waiting.size() >= MaximumWaiting) {
        qWarning("JoinQuestions: join request refused, too many wait for an answer");
        m_session->answer(request, false);
        return;
    }
    m_waiting.enqueue(request);
    QMetaObject::invokeMethod(this, &JoinQuestions::askAll, Qt::QueuedConnection);
}

void JoinQuestions::askAll()
{
    if (m_isAsking)
        return;
    const QScopedValueRollback<bool> asking(m_isAsking, true);
    while (!m_waiting.isEmpty()) {
        if (!m_session->isConnected()) {
            clear();
            return;
        }
        const NetworkMessage request = m_waiting.dequeue();
        const bool accepted = m_ask(request);
        m_session->answer(request, accepted);
    }
}

} // namespace Quorvel
