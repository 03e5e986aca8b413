#pragma once

#include <QString>

namespace Quorvel
{

class Scene;

/// The two directories of converted scenes: a global one that is only read, and the user's own.
///
/// A scene's file is named after its key, the checksum of the file that it was converted from, and holds one
/// scene record (docs/formats.md) and nothing else. A file that exists is trusted.
class SceneCache
{
public:
    SceneCache(const QString &globalDirectory, const QString &localDirectory);

    /// /opt/quorvel/cache and .quorvel/cache in the user's home.
    static SceneCache standard();

    QString globalDirectory() const { return m_globalDirectory; }
    QString localDirectory() const { return m_localDirectory; }

    QString globalPath(const QString &key) const;
    QString localPath(const QString &key) const;

    /// Fills the scene from the first directory that has the key's file, the global one before the local one.
    /// False when neither has one. A damaged file is fatal.
    bool load(Scene *scene, const QString &key) const;

    /// Stores a complete scene in the local directory, which is made where it is missing. The file appears
    /// whole or not at all; a failure leaves the cache as it was and is not reported.
    void save(const Scene &scene, const QString &key) const;

private:
    /// A file that is mapped must not be cut short meanwhile. save() replaces files as a whole; what people
    /// copy into the global directory may be written over in place.
    enum class Access { Mapped, Streamed };
    static void read(Scene *scene, const QString &path, Access access);

    QString m_globalDirectory;
    QString m_localDirectory;
};

} // namespace Quorvel
