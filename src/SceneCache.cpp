#include "SceneCache.h"

#include "Scene.h"
#include "SceneRecordCheck.h"

#include <QDataStream>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <limits>
#include <memory>
#include <string_view>

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

/// The bytes of a cache file, all of them in memory, as they are to be looked at before they are believed.
class StoredRecord
{
public:
    /// A file that is mapped must not be cut short meanwhile. SceneCache::save() replaces files as a whole;
    /// what people copy into the global directory may be written over in place.
    enum class Access { Mapped, Copied };

    StoredRecord(const QString &path, Access access) : m_file(path)
    {
        if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            m_fault = m_file.errorString();
            return;
        }
        const qint64 size = m_file.size();
        const uchar *const mapped = access == Access::Mapped ? m_file.map(0, size) : nullptr;
        if (mapped)
            m_bytes = {reinterpret_cast<const char *>(mapped), size_t(size)};
        else
            copy(size);
        if (m_fault.isEmpty())
            m_fault = SceneRecordCheck(m_bytes, SceneRecordCheck::Origin::Cache).fault();
    }

    /// What is wrong with the file; empty where it can be loaded.
    QString fault() const { return m_fault; }

    void loadInto(Scene *scene)
    {
        if (m_bytes.size() <= size_t(std::numeric_limits<int>::max())) {
            // A stream over a file asks the system how much is left at every list.
            QDataStream stream(QByteArray::fromRawData(m_bytes.data(), int(m_bytes.size())));
            scene->load(stream);
        } else {
            m_file.seek(0);
            QDataStream stream(&m_file);
            scene->load(stream);
        }
    }

private:
    void copy(qint64 size)
    {
        m_copy.reset(new (std::nothrow) char[size_t(size)]);
        const qint64 count = m_copy ? m_file.read(m_copy.get(), size) : 0;
        if (count < 0 || !m_copy)
            m_fault = m_copy ? m_file.errorString() : QStringLiteral("it is too large");
        m_bytes = {m_copy.get(), size_t(std::max<qint64>(count, 0))};
    }

    QFile m_file;
    std::unique_ptr<char[]> m_copy;
    std::string_view m_bytes;
    QString m_fault;
};

struct CacheKind
{
    const char *name;
    StoredRecord::Access access;
    const char *consequence;
};

constexpr CacheKind globalKind = {"global", StoredRecord::Access::Copied, "replace it or delete it"};
constexpr CacheKind localKind = {"local", StoredRecord::Access::Mapped, "the scene is converted anew"};

/// False when there is no file, or when it is damaged, with a warning.
bool loadCopy(Scene *scene, const QString &path, const CacheKind &kind)
{
    if (!QFile::exists(path))
        return false;
    StoredRecord record(path, kind.access);
    if (!record.fault().isEmpty()) {
        qWarning("ColladaLoader: the converted scene %s cannot be used (%s): %s", qPrintable(path),
                 qPrintable(record.fault()), kind.consequence);
        return false;
    }
    qDebug("ColladaLoader: loading from %s cache", kind.name);
    record.loadInto(scene);
    return true;
}

/// Where the user's converted scenes are kept; empty for nowhere.
QString userDirectory()
{
    const QString asked = QFile::decodeName(qgetenv("QUORVEL_CACHE"));
    if (asked == QLatin1String("off"))
        return QString();
    if (!asked.isEmpty())
        return QDir::cleanPath(QDir::current().absoluteFilePath(asked));
    // An account without a home, as services have, does not get one.
    const QString home = QDir::homePath();
    return QFileInfo(home).isDir() ? home + QLatin1String("/.quorvel/cache") : QString();
}

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
    return SceneCache(QStringLiteral("/opt/quorvel/cache"), userDirectory());
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
    return (!m_globalDirectory.isEmpty() && loadCopy(scene, globalPath(key), globalKind)) ||
           (!m_localDirectory.isEmpty() && loadCopy(scene, localPath(key), localKind));
}

void SceneCache::save(const Scene &scene, const QString &key) const
{
    if (m_localDirectory.isEmpty())
        return;
    QDir().mkpath(m_localDirectory);
    EarlyWrittenFile file(localPath(key));
    if (!file.open(QIODevice::WriteOnly)) {
        // Of the folder that is there by default nobody has asked to hear.
        if (!qEnvironmentVariableIsEmpty("QUORVEL_CACHE"))
            qWarning("SceneCache: converted scenes cannot be kept in %s (QUORVEL_CACHE): %s",
                     qPrintable(m_localDirectory), qPrintable(file.errorString()));
        return;
    }
    QDataStream stream(&file);
    scene.save(stream);
    file.commit();
}

} // namespace Quorvel
