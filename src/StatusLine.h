#pragma once

#include <QObject>
#include <QString>

class QMainWindow;

namespace Quorvel
{

/// What a window's status bar says while no status tip is shown in it. Where a tip ends the toolkit would
/// leave the bar empty, and where an entry of the menu bar is clicked it may leave the tip.
class StatusLine : public QObject
{
    Q_OBJECT

public:
    /// A child of the window, whose status tips it watches.
    explicit StatusLine(QMainWindow *window);

    /// Until the next call.
    void show(const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restore();

    QMainWindow *const m_window;
    QString m_text;
};

} // namespace Quorvel
