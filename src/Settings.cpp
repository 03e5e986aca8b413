#include "Settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace Quorvel
{

namespace
{

bool hasPlace()
{
    return qEnvironmentVariableIsSet("XDG_CONFIG_HOME") || QFileInfo(QDir::homePath()).isDir();
}

} // namespace

Settings::Settings() : m_settings(QCoreApplication::organizationName(), QCoreApplication::applicationName())
{
}

QVariant Settings::value(const QString &key, const QVariant &byDefault) const
{
    return m_settings.value(key, byDefault);
}

void Settings::setValue(const QString &key, const QVariant &value)
{
    if (hasPlace())
        m_settings.setValue(key, value);
}

} // namespace Quorvel
