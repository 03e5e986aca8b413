#include "KeyHistory.h"

#include <QKeyEvent>

namespace Quorvel
{

namespace
{

/// A key that went up and down again within this time was held: no finger is that fast. The toolkit flags
/// repeats itself where both bear the same time, and misses those of systems that number them one by one.
constexpr unsigned long repeatGap = 5; // milliseconds

} // namespace

void KeyHistory::dialogEnded()
{
    m_strayKey = Qt::Key_Escape;
}

bool KeyHistory::press(const QKeyEvent &event)
{
    if (event.key() == m_strayKey)
        m_strayKey = 0;
    m_isRepeating = followsItsRelease(event);
    return m_isRepeating || event.isAutoRepeat();
}

bool KeyHistory::followsItsRelease(const QKeyEvent &press) const
{
    // Events that no windowing system has sent bear no time.
    return press.key() == m_releasedKey && m_releaseTime != 0 && press.timestamp() >= m_releaseTime &&
           press.timestamp() - m_releaseTime <= repeatGap;
}

KeyHistory::Release KeyHistory::release(const QKeyEvent &event)
{
    if (event.isAutoRepeat())
        return Release::Repeated;
    const bool isRepeating = m_isRepeating && event.key() == m_releasedKey;
    m_isRepeating = false;
    m_releasedKey = event.key();
    m_releaseTime = event.timestamp();
    if (event.key() == m_strayKey) {
        m_strayKey = 0;
        return Release::Stray;
    }
    return isRepeating ? Release::Repeated : Release::Own;
}

} // namespace Quorvel
