#include "StatusLine.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QStatusBar>
#include <QStatusTipEvent>

namespace Quorvel
{

StatusLine::StatusLine(QMainWindow *window) : QObject(window), m_window(window)
{
    window->installEventFilter(this);
    connect(window->menuBar(), &QMenuBar::triggered, this, &StatusLine::restore);
}

void StatusLine::show(const QString &text)
{
    m_text = text;
    restore();
}

void StatusLine::restore()
{
    m_window->statusBar()->showMessage(m_text);
}

bool StatusLine::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::StatusTip || !static_cast<QStatusTipEvent *>(event)->tip().isEmpty())
        return QObject::eventFilter(watched, event);
    restore();
    return true;
}

} // namespace Quorvel
