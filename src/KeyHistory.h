#pragma once

class QKeyEvent;

namespace Quorvel
{

/// Tells the releases of keys that are a person's own from those of keys whose press went elsewhere, and from
/// those that the windowing system makes up while a key is held.
///
/// Wants every press and release in the order in which they come.
class KeyHistory
{
public:
    enum class Release {
        Own,
        /// The press went to a shortcut or to a dialog.
        Stray,
        /// The key has repeated since it went down, and was acted upon then.
        Repeated
    };

    /// A key has gone down; its press comes next, unless it turns out to be a shortcut's.
    void announce(int key) { m_strayKey = key; }
    /// The release of Escape that may have ended it is still to come.
    void dialogEnded();

    /// Whether a press repeats one that came before.
    bool press(const QKeyEvent &event);
    /// Of a key that repeats, the first release is its own, for nothing tells it from the last one.
    Release release(const QKeyEvent &event);

private:
    bool followsItsRelease(const QKeyEvent &press) const;

    /// 0 for none.
    int m_strayKey = 0;
    int m_releasedKey = 0;
    unsigned long m_releaseTime = 0;
    bool m_isRepeating = false;
};

} // namespace Quorvel
