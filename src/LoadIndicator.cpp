#include "LoadIndicator.h"

#include <QApplication>

namespace Quorvel
{

LoadIndicator::LoadIndicator(QWidget *parent) : QProgressBar(parent)
{
    // No end in sight: the bar moves to and fro.
    setRange(0, 0);
    setTextVisible(false);
    // Lower than the buttons beside it, so that nothing moves when it appears.
    setFixedSize(96, 12);
    setAccessibleName(tr("Loading"));
    hide();
}

LoadIndicator::~LoadIndicator()
{
    end();
}

void LoadIndicator::begin()
{
    if (m_running)
        return;
    m_running = true;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    show();
}

void LoadIndicator::end()
{
    if (!m_running)
        return;
    m_running = false;
    QApplication::restoreOverrideCursor();
    hide();
}

} // namespace Quorvel
