#include "ColladaLoader.h"

#include "DocumentCheck.h"
#include "FatalExplanation.h"
#include "NumberLists.h"
#include "QueryMessages.h"
#include "QueryProgram.h"
#include "Scene.h"
#include "XmlSceneReceiver.h"

#include <QAbstractMessageHandler>
#include <QBuffer>
#include <QDebug>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QUrl>
#include <QXmlQuery>

namespace Quorvel
{

namespace
{

/// For an attempt that is made again, with messages, where it fails.
class SilentMessages : public QAbstractMessageHandler
{
protected:
    void handleMessage(QtMsgType, const QString &, const QUrl &, const QSourceLocation &) override {}
};

} // namespace

ColladaLoader::ColladaLoader(Scene *scene, const QString &path, const SceneCache &cache)
    : ColladaLoader(scene, path, std::async(std::launch::deferred, [path] { return readSourceText(path); }),
                    cache)
{
}

ColladaLoader::ColladaLoader(Scene *scene, const QString &path, std::future<SourceText> source,
                             const SceneCache &cache)
    : m_path(path)
{
    QElapsedTimer timer;
    timer.start();
    takeText(source.get());
    if (cache.load(scene, m_hash)) {
        scene->setName(m_path);
    } else {
        convert(scene);
        cache.save(*scene, m_hash);
        scene->dump();
    }
    qDebug("Load time: %fs", double(float(timer.elapsed()) / 1000.0f));
}

void ColladaLoader::takeText(const SourceText &source)
{
    m_fileData = source.text;
    m_hash = source.key;
    m_readError = source.error;
    m_readAdvice = source.advice;
}

void ColladaLoader::convert(Scene *scene)
{
    scene->clear();
    scene->setName(m_path);
    const DocumentCheck document(m_fileData);
    QueryMessages messages(QFileInfo(m_path).fileName());
    if (m_readError.isEmpty() && !document.isTooDeep())
        evaluate(scene, &messages);
    scene->complete();
    if (!scene->m_activeCameraNode)
        explainFatal(explanation(document, messages));
    Q_ASSERT(scene->m_activeCameraNode);
}

void ColladaLoader::evaluate(Scene *scene, QueryMessages *messages)
{
    if (!evaluateShortened(scene)) {
        scene->clear();
        scene->setName(m_path);
        evaluate(&m_fileData, nullptr, scene, messages);
    }
    m_fileData.clear();
}

/// Without the long number lists in the XML engine. False when there are none, or when the document is not
/// well-formed: then nothing has been received, and messages are to name places of the whole text.
bool ColladaLoader::evaluateShortened(Scene *scene)
{
    const NumberLists lists(m_fileData);
    if (lists.isEmpty())
        return false;
    QByteArray document = lists.document();
    SilentMessages messages;
    return evaluate(&document, &lists, scene, &messages);
}

bool ColladaLoader::evaluate(QByteArray *text, const NumberLists *lists, Scene *scene,
                             QAbstractMessageHandler *messages)
{
    const bool areFlat = lists && lists->areGeometriesFlat();
    QByteArray programText = areFlat ? QueryProgram::textForFlatGeometries() : QueryProgram::text();
    QBuffer program(&programText);
    program.open(QIODevice::ReadOnly);
    QXmlQuery query;
    query.setMessageHandler(messages);
    m_buffer.setBuffer(text);
    m_buffer.open(QIODevice::ReadOnly);
    query.bindVariable(QStringLiteral("xmlData"), &m_buffer);
    query.setQuery(&program, QueryProgram::url());
    XmlSceneReceiver receiver(&query, scene, &scene->geometries(), &scene->lights(), &scene->cameras(),
                              &scene->materials(), &scene->nodes(), lists);
    const bool succeeded = query.evaluateTo(&receiver);
    m_buffer.close();
    return succeeded;
}

QString ColladaLoader::explanation(const DocumentCheck &document, const QueryMessages &messages) const
{
    const QString name = m_path.isEmpty() ? QStringLiteral("(no name)") : QFileInfo(m_path).fileName();
    if (!m_readError.isEmpty())
        return QStringLiteral("%1: the file cannot be read (%2): %3").arg(name, m_readError, m_readAdvice);
    if (!document.foreignKind().isEmpty())
        return QStringLiteral("%1: the file %2").arg(name, document.foreignKind());
    if (document.isTooDeep())
        return QStringLiteral(
                   "%1: the elements of the file nest %2 deep, and %3 is the most that can be read: "
                   "flatten the scene's hierarchy and export it again")
            .arg(name, QString::number(document.depth()), QString::number(DocumentCheck::DepthLimit));
    if (messages.hasError())
        return QStringLiteral("%1: the file is damaged or not XML (%2): export the scene again")
            .arg(name, messages.error());
    if (document.rootElement() != QLatin1String("COLLADA"))
        return QStringLiteral(
                   "%1: the file is a document of kind \"%2\" and not a COLLADA scene: export the scene "
                   "as COLLADA")
            .arg(name, document.rootElement());
    return QStringLiteral(
               "%1: the scene has no camera node, so there is no view to open it with: add a camera in "
               "the program that exported it")
        .arg(name);
}

} // namespace Quorvel
