#include "ProgressLine.h"

#include <cmath>
#include <cstdio>

namespace Quorvel
{

ProgressLine::ProgressLine(bool enabled) : m_enabled(enabled)
{
    m_timer.start();
}

void ProgressLine::show(double part)
{
    const qint64 elapsed = m_timer.elapsed();
    if (!m_enabled || elapsed < m_next || part <= 0.0)
        return;
    constexpr qint64 interval = 250;
    m_next = elapsed + interval;
    m_visible = true;
    const int left = int(std::lround(double(elapsed) / 1000.0 * (1.0 / part - 1.0)));
    fprintf(stderr, "\rbaking: %3d %%, %d:%02d left \033[K", int(100.0 * part), left / 60, left % 60);
    fflush(stderr);
}

void ProgressLine::clear()
{
    if (!m_visible)
        return;
    fputs("\r\033[K", stderr);
    fflush(stderr);
    m_visible = false;
}

} // namespace Quorvel
