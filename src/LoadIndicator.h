#pragma once

#include <QProgressBar>

namespace Quorvel
{

/// Shows that a load runs: a moving bar, and a busy pointer over the whole program.
class LoadIndicator : public QProgressBar
{
    Q_OBJECT

public:
    explicit LoadIndicator(QWidget *parent = nullptr);
    ~LoadIndicator() override;

    /// Both may be called in any state.
    void begin();
    void end();
    bool isRunning() const { return m_running; }

private:
    bool m_running = false;
};

} // namespace Quorvel
