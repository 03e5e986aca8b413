#pragma once

#include <QSettings>
#include <QSize>

namespace Quorvel
{

/// What the main window remembers from one start to the next: the keys "size" and "lastDirectory" of group
/// "MainWindow" in the settings of the application object's organisation and name, which must be set before.
/// Where the person has no home folder nothing is stored, and none is made.
class WindowSettings
{
public:
    WindowSettings();

    /// Whether there is a place for settings.
    static bool canBeStored();

    /// 640 x 480 when none is stored.
    QSize size() const;
    void setSize(const QSize &size);

    /// Where the last file was chosen; empty when there is no such directory any more.
    QString lastDirectory() const;
    void setLastDirectory(const QString &directory);

private:
    QSettings m_settings;
};

} // namespace Quorvel
