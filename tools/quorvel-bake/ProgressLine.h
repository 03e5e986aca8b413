#pragma once

#include <QElapsedTimer>

namespace Quorvel
{

/// One line on a terminal's stderr that is written over and over: how much is done and how long the rest will
/// take. It appears once a job has lasted over a second. One thread at a time.
class ProgressLine
{
public:
    /// Shows nothing unless `enabled`.
    explicit ProgressLine(bool enabled);

    /// 0 to 1.
    void show(double part);
    /// Takes the line away.
    void clear();

private:
    bool m_enabled;
    bool m_visible = false;
    qint64 m_next = 1000;
    QElapsedTimer m_timer;
};

} // namespace Quorvel
