#include "WindowSettings.h"

#include <QDir>

namespace Quorvel
{

namespace
{

const QString sizeKey = QStringLiteral("MainWindow/size");
const QString directoryKey = QStringLiteral("MainWindow/lastDirectory");

} // namespace

QSize WindowSettings::size() const
{
    return m_settings.value(sizeKey, QSize(640, 480)).toSize();
}

void WindowSettings::setSize(const QSize &size)
{
    m_settings.setValue(sizeKey, size);
}

QString WindowSettings::lastDirectory() const
{
    const QString directory = m_settings.value(directoryKey).toString();
    return QDir(directory).exists() ? directory : QString();
}

void WindowSettings::setLastDirectory(const QString &directory)
{
    m_settings.setValue(directoryKey, directory);
}

} // namespace Quorvel
