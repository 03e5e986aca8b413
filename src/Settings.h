#pragma once

#include <QSettings>

namespace Quorvel
{

/// What the program remembers from one start to the next, in the store of the application object's
/// organisation and name, which must be set before. Where a person has no home folder nothing is stored, and
/// none is made.
class Settings
{
public:
    Settings();

    QVariant value(const QString &key, const QVariant &byDefault = QVariant()) const;
    void setValue(const QString &key, const QVariant &value);

private:
    QSettings m_settings;
};

} // namespace Quorvel
