#include "ColladaLoader.h"

#include "DocumentCheck.h"
#include "FatalExplanation.h"
#include "QueryMessages.h"
#include "Scene.h"
#include "XmlSceneReceiver.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QXmlQuery>

#include <algorithm>

namespace Quorvel
{

namespace
{

bool isAscii(char byte)
{
    return static_cast<uchar>(byte) < 0x80;
}

/// Takes the bytes for Latin-1 and writes them as UTF-8, up to the first NUL.
QByteArray latin1ToUtf8(QByteArray bytes)
{
    const int nul = bytes.indexOf('\0');
    if (nul >= 0)
        bytes.truncate(nul);
    const auto wide = bytes.size() - int(std::count_if(bytes.cbegin(), bytes.cend(), isAscii));
    if (wide == 0)
        return bytes;
    QByteArray text;
    text.reserve(bytes.size() + wide);
    for (const char byte : qAsConst(bytes)) {
        if (isAscii(byte)) {
            text.append(byte);
        } else {
            text.append(char(0xc0 | (uchar(byte) >> 6)));
            text.append(char(0x80 | (uchar(byte) & 0x3f)));
        }
    }
    return text;
}

} // namespace

ColladaLoader::ColladaLoader(Scene *scene, const QString &path, const SceneCache &cache) : m_path(path)
{
    QElapsedTimer timer;
    timer.start();
    readFile();
    if (cache.load(scene, hash())) {
        scene->setName(m_path);
    } else {
        convert(scene);
        cache.save(*scene, hash());
        scene->dump();
    }
    qDebug("Load time: %fs", double(float(timer.elapsed()) / 1000.0f));
}

void ColladaLoader::readFile()
{
    QFile file(m_path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly))
        bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        m_readError = file.errorString();
    // Quirk(double-encoding): the bytes of a UTF-8 file are taken for Latin-1 and encoded once more;
    // kept because the keys and the ids of all stored scenes are made from that text.
    m_fileData = latin1ToUtf8(std::move(bytes));
    m_buffer.setBuffer(&m_fileData);
}

QString ColladaLoader::hash()
{
    if (m_hash.isEmpty())
        m_hash = QString::fromLatin1(QCryptographicHash::hash(m_fileData, QCryptographicHash::Md5).toHex());
    return m_hash;
}

void ColladaLoader::convert(Scene *scene)
{
    scene->clear();
    scene->setName(m_path);
    const DocumentCheck document(m_fileData);
    QueryMessages messages(QFileInfo(m_path).fileName());
    if (!document.isTooDeep())
        evaluate(scene, &messages);
    scene->complete();
    if (!scene->m_activeCameraNode)
        explainFatal(explanation(document, messages));
    Q_ASSERT(scene->m_activeCameraNode);
}

void ColladaLoader::evaluate(Scene *scene, QueryMessages *messages)
{
    QFile program(QStringLiteral(":/xquery/collada.xq"));
    if (!program.open(QIODevice::ReadOnly))
        qFatal("%s is missing: this program was linked without its resources",
               qPrintable(program.fileName()));
    QXmlQuery query;
    query.setMessageHandler(messages);
    m_buffer.open(QIODevice::ReadOnly);
    query.bindVariable(QStringLiteral("xmlData"), &m_buffer);
    query.setQuery(&program, QUrl::fromLocalFile(program.fileName()));
    XmlSceneReceiver receiver(&query, scene, &scene->geometries(), &scene->lights(), &scene->cameras(),
                              &scene->materials(), &scene->nodes());
    query.evaluateTo(&receiver);
    m_buffer.close();
}

QString ColladaLoader::explanation(const DocumentCheck &document, const QueryMessages &messages) const
{
    const QString name = m_path.isEmpty() ? QStringLiteral("(no name)") : QFileInfo(m_path).fileName();
    if (!m_readError.isEmpty())
        return QStringLiteral(
                   "%1: the file cannot be read (%2): check that it is a file, and readable for you")
            .arg(name, m_readError);
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
