#pragma once

#include "ReadOnceBuffer.h"
#include "SceneCache.h"
#include "SourceText.h"

#include <QByteArray>
#include <QString>

#include <future>

class QAbstractMessageHandler;

namespace Quorvel
{

class DocumentCheck;
class NumberLists;
class QueryMessages;
class Scene;

/// Loads one COLLADA file into a scene: from the cache where a converted copy lies there, else by converting
/// it and storing the result in the user's cache.
///
/// The whole load happens in the constructor, on the thread that calls it, but for the reading of a file that
/// was begun before; the object is good for nothing after that. A file that yields no camera node is fatal,
/// whatever the reason; the reason is explained.
class ColladaLoader
{
public:
    /// The caller owns the scene, which is complete on return.
    ColladaLoader(Scene *scene, const QString &path, const SceneCache &cache = SceneCache::standard());
    /// For the file that startReading(path) reads. `source` must be valid.
    ColladaLoader(Scene *scene, const QString &path, std::future<SourceText> source,
                  const SceneCache &cache = SceneCache::standard());
    virtual ~ColladaLoader() = default;
    ColladaLoader(const ColladaLoader &) = delete;
    ColladaLoader &operator=(const ColladaLoader &) = delete;

private:
    void takeText(const SourceText &source);
    void convert(Scene *scene);
    void evaluate(Scene *scene, QueryMessages *messages);
    bool evaluateShortened(Scene *scene);
    bool evaluate(QByteArray *text, const NumberLists *lists, Scene *scene,
                  QAbstractMessageHandler *messages);
    QString explanation(const DocumentCheck &document, const QueryMessages &messages) const;

    /// The file's text as UTF-8: what the key is made from and what the parser sees. Empty once it is parsed.
    QByteArray m_fileData;
    ReadOnceBuffer m_buffer;
    QString m_path;
    /// The key of the cache: lower-case hexadecimal MD5 of the text.
    QString m_hash;
    /// Why the file could not be read, and what to do about it; empty when it could.
    QString m_readError;
    QString m_readAdvice;
};

} // namespace Quorvel
