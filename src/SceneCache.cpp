#include "SceneCache.h"

#include "FatalExplanation.h"
#include "Scene.h"

#include <QDataStream>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <limits>

#include <fcntl.h>

namespace Quorvel
{

namespace
{

/// Sends what it holds on its way to the disk while more is being written. A file that is to appear whole
/// waits for the disk before it gets its name, and would have to wait for all of it.
class EarlyWrittenFile : public QSaveFile
{
public:
    using QSaveFile::QSaveFile;

protected:
    qint64 writeData(const char *data, qint64 size) override
    {
        const qint64 written = QSaveFile::writeData(data, size);
        m_held += std::max<qint64>(written, 0);
        constexpr qint64 worthSending = 8 << 20;
        if (m_held > worthSending) {
            // A hint: where it fails, the wait at the end is longer.
            ::sync_file_range(handle(), 0, 0, SYNC_FILE_RANGE_WRITE);
            m_held = 0;
        }
        return written;
    }

private:
    qint64 m_held = 0;
};

QString cachePath(const QString &directory, const QString &key)
{
    return directory + QLatin1Char('/') + key + QLatin1String(".qvm");
}

} // namespace

SceneCache::SceneCache(const QString &globalDirectory, const QString &localDirectory)
    : m_globalDirectory(globalDirectory), m_localDirectory(localDirectory)
{
}

SceneCache SceneCache::standard()
{
    return SceneCache(QStringLiteral("/opt/quorvel/cache"),
                      QDir::homePath() + QLatin1String("/.quorvel/cache"));
}

QString SceneCache::globalPath(const QString &key) const
{
    return cachePath(m_globalDirectory, key);
}

QString SceneCache::localPath(const QString &key) const
{
    return cachePath(m_localDirectory, key);
}

bool SceneCache::load(Scene *scene, const QString &key) const
{
    if (QFile::exists(globalPath(key))) {
        qDebug("ColladaLoader: loading from global cache");
        read(scene, globalPath(key), Access::Streamed);
        return true;
    }
    if (QFile::exists(localPath(key))) {
        qDebug("ColladaLoader: loading from local cache");
        read(scene, localPath(key), Access::Mapped);
        return true;
    }
    return false;
}

void SceneCache::save(const Scene &scene, const QString &key) const
{
    QDir().mkpath(m_localDirectory);
    EarlyWrittenFile file(localPath(key));
    if (!file.open(QIODevice::WriteOnly))
        return;
    QDataStream stream(&file);
    scene.save(stream);
    file.commit();
}

void SceneCache::read(Scene *scene, const QString &path, Access access)
{
    QFile file(path);
    const FatalExplanation explanation(
        file.open(QIODevice::ReadOnly)
            ? QStringLiteral(
                  "the cached copy %1 of this scene is damaged: delete it and open the scene again")
                  .arg(path)
            : QStringLiteral(
                  "the cached copy %1 of this scene cannot be read (%2): delete it and open the scene "
                  "again")
                  .arg(path, file.errorString()));
    // A stream over a file asks the system how much is left at every list.
    const bool canMap = access == Access::Mapped && file.size() <= std::numeric_limits<int>::max();
    if (const uchar *const bytes = canMap ? file.map(0, file.size()) : nullptr) {
        QDataStream stream(QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), int(file.size())));
        scene->load(stream);
    } else {
        QDataStream stream(&file);
        scene->load(stream);
    }
}

} // namespace Quorvel
