#pragma once

#include "Settings.h"

#include <QSize>

namespace Quorvel
{

/// What the main window remembers from one start to the next: the keys "size" and "lastDirectory" of group
/// "MainWindow" in Settings.
class WindowSettings
{
public:
    /// 640 x 480 when none is stored.
    QSize size() const;
    void setSize(const QSize &size);

    /// Where the last file was chosen; empty when there is no such directory any more.
    QString lastDirectory() const;
    void setLastDirectory(const QString &directory);

private:
    Settings m_settings;
};

} // namespace Quorvel
