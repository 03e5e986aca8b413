#pragma once

#include <QString>

namespace Quorvel
{

class Scene;

/// The two directories of converted scenes: a global one that is only read, and the user's own.
///
/// A scene's file is named after its key, the checksum of the file that it was converted from, and holds one
/// scene record (docs/formats.md) and nothing else. A file whose record is whole is trusted; one that is
/// damaged is passed over with a warning. A directory without a name stands for none.
class SceneCache
{
public:
    SceneCache(const QString &globalDirectory, const QString &localDirectory);

    /// /opt/quorvel/cache, and for the user's own what the variable QUORVEL_CACHE names: a folder, or "off"
    /// for none. Without it, .quorvel/cache in the user's home, or none where there is no home.
    static SceneCache standard();

    QString globalDirectory() const { return m_globalDirectory; }
    QString localDirectory() const { return m_localDirectory; }

    QString globalPath(const QString &key) const;
    QString localPath(const QString &key) const;

    /// Fills the scene from the first directory that has a whole record for the key, the global one before
    /// the local one. False when neither has one; the scene is then as it was.
    bool load(Scene *scene, const QString &key) const;

    /// Stores a complete scene in the local directory, which is made where it is missing. The file appears
    /// whole or not at all; a failure leaves the cache as it was and is not reported, except where
    /// QUORVEL_CACHE names a folder that cannot be made or written.
    void save(const Scene &scene, const QString &key) const;

private:
    QString m_globalDirectory;
    QString m_localDirectory;
};

} // namespace Quorvel
