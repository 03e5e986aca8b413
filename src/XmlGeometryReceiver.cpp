#include "XmlGeometryReceiver.h"

#include "FatalExplanation.h"
#include "Geometry.h"
#include "NumberLists.h"
#include "NumberReader.h"
#include "Trimesh.h"

#include <QDebug>

namespace Quorvel
{

namespace
{

/// COLLADA's usual s t p; the third number is skipped.
constexpr int numbersPerTexcoord = 3;

/// Indices as a file gives them, with negative ones seen as larger than any list.
class FileIndices
{
public:
    explicit FileIndices(const QVector<int> &values) : m_values(values), m_data(m_values.constData()) {}
    int size() const { return m_values.size(); }
    qint64 operator[](int i) const { return quint32(m_data[i]); }

private:
    const QVector<int> m_values;
    const int *m_data;
};

} // namespace

XmlGeometryReceiver::XmlGeometryReceiver(QXmlQuery *query, QList<Geometry *> *geometries,
                                         const NumberLists *lists)
    : XmlReceiver(query), m_geometries(geometries), m_lists(lists)
{
}

XmlGeometryReceiver::~XmlGeometryReceiver() = default;

template <typename Read>
auto XmlGeometryReceiver::readList(const QStringRef &text, Read read) const
{
    if (!m_lists || !m_lists->isMarked(text))
        return read(text);
    if (const std::optional<std::string_view> list = m_lists->list(text))
        return read(*list);
    const QString whole = m_lists->expanded(text);
    return read(QStringRef(&whole));
}

QVector<int> XmlGeometryReceiver::readIndices(const QStringRef &text, int keep) const
{
    return readList(text,
                    [&](const auto &whole) { return NumberReader::readIndices(whole, m_stride, keep); });
}

void XmlGeometryReceiver::startElement(const QXmlName &name)
{
    pushElement(name);
    if (element() == QLatin1String("geometry"))
        m_currentGeometry.reset();
    else if (element() == QLatin1String("triangles") && m_currentGeometry)
        startGroup();
}

void XmlGeometryReceiver::endElement()
{
    if (element() == QLatin1String("geometry"))
        finishGeometry();
    else if (element() == QLatin1String("triangles") && m_currentGeometry)
        finishGroup();
    popElement();
}

void XmlGeometryReceiver::attribute(const QXmlName &name, const QStringRef &value)
{
    const QString attributeName = localName(name);
    if (attributeName == QLatin1String("id")) {
        if (element() == QLatin1String("geometry"))
            startGeometry(value.toString());
    } else if (attributeName == QLatin1String("stride")) {
        m_stride = NumberReader::readInteger(value);
    } else if (attributeName == QLatin1String("material")) {
        if (m_currentTrimesh)
            m_currentTrimesh->setMaterialName(value.toString());
    }
}

void XmlGeometryReceiver::characters(const QStringRef &value)
{
    if (isBlank(value) || !m_currentGeometry)
        return;
    const auto readVectors3 = [](const auto &text) { return NumberReader::readVectors3(text); };
    if (element() == QLatin1String("vertices"))
        m_positions = readList(value, readVectors3);
    else if (element() == QLatin1String("normals"))
        m_normals = readList(value, readVectors3);
    else if (element() == QLatin1String("texcoords"))
        m_texcoords = readList(
            value, [](const auto &text) { return NumberReader::readVectors2(text, numbersPerTexcoord); });
    else if (element() == QLatin1String("triangles"))
        fillGroup(value);
}

void XmlGeometryReceiver::startGeometry(const QString &id)
{
    m_currentGeometry = std::make_unique<Geometry>();
    m_currentGeometry->setId(id);
    qDebug() << "Geometry" << id << ":";
}

void XmlGeometryReceiver::finishGeometry()
{
    if (!m_currentGeometry) {
        qWarning("Warning: geometry without an id ignored");
        return;
    }
    for (Trimesh *trimesh : m_currentGeometry->trimeshes()) {
        QVector<int> adjacency;
        QVector<int> invalidFaces;
        m_currentGeometry->analyze(trimesh->indices(), &adjacency, &invalidFaces);
        trimesh->setAdjacency(adjacency);
        trimesh->setInvalidFaces(invalidFaces);
    }
    const Geometry *geometry = m_currentGeometry.get();
    m_geometries->append(m_currentGeometry.release());
    qDebug() << "Vertices" << geometry->vertices().size();
    qDebug() << "Normals" << geometry->normals().size();
    qDebug() << "Texcoords" << geometry->texcoords().size();
}

void XmlGeometryReceiver::startGroup()
{
    m_currentTrimesh = std::make_unique<Trimesh>();
    // Quirk(list-per-group): every group appends the geometry's lists again, though indices mean copy one;
    // kept because stored scenes and the sizes that users see in the diagnostics count every copy.
    m_currentGeometry->appendVertices(m_positions);
    m_currentGeometry->appendNormals(m_normals);
    if (m_texcoords.isEmpty())
        m_texcoords.append(QVector2D(0, 0));
    m_currentGeometry->appendTexcoords(m_texcoords);
}

void XmlGeometryReceiver::finishGroup()
{
    m_currentGeometry->addTrimesh(m_currentTrimesh.release());
}

void XmlGeometryReceiver::fillGroup(const QStringRef &text)
{
    if (m_stride >= 3)
        fillGroupFromTriples(text);
    else if (m_stride == 2)
        fillGroupFromPairs(text);
    else if (m_stride == 1)
        fillGroupFromSingles(text);
    else
        qWarning("Warning: triangles of geometry %s with a stride of %d ignored",
                 qUtf8Printable(m_currentGeometry->id()), m_stride);
}

void XmlGeometryReceiver::fillGroupFromTriples(const QStringRef &text)
{
    // Quirk(later-copy-index): an index into a later copy of the lists passes once that copy is there;
    // kept, the check is against the list as it stands, and stored scenes hold such indices.
    const FileIndices indices(readIndices(text, 3));
    QVector<int> positions(indices.size() / 3);
    QVector<int> normals(indices.size() / 3);
    QVector<int> texcoords(indices.size() / 3);
    int *position = positions.data();
    int *normal = normals.data();
    int *texcoord = texcoords.data();
    for (int i = 0; i < indices.size(); i += 3) {
        explainIndex("position", indices[i + 0], m_currentGeometry->vertices().size());
        Q_ASSERT(indices[i + 0] < m_currentGeometry->vertices().size());
        *position++ = int(indices[i + 0]);
        explainIndex("normal", indices[i + 1], m_currentGeometry->normals().size());
        Q_ASSERT(indices[i + 1] < m_currentGeometry->normals().size());
        *normal++ = int(indices[i + 1]);
        explainIndex("texture coordinate", indices[i + 2], m_currentGeometry->texcoords().size());
        Q_ASSERT(indices[i + 2] < m_currentGeometry->texcoords().size());
        *texcoord++ = int(indices[i + 2]);
    }
    m_currentTrimesh->appendIndices(positions, normals, texcoords);
}

void XmlGeometryReceiver::fillGroupFromPairs(const QStringRef &text)
{
    const FileIndices indices(readIndices(text, 2));
    m_currentTrimesh->reserveIndices(indices.size() / 2);
    for (int i = 0; i < indices.size(); i += 2) {
        explainIndex("position", indices[i], m_currentGeometry->vertices().size());
        Q_ASSERT(indices[i] < m_currentGeometry->vertices().size());
        explainIndex("normal", indices[i + 1], m_currentGeometry->normals().size());
        Q_ASSERT(indices[i + 1] < m_currentGeometry->normals().size());
        m_currentTrimesh->appendIndex(int(indices[i]));
        m_currentTrimesh->appendNormalIndex(int(indices[i + 1]));
        m_currentTrimesh->appendTexcoordIndex(0);
    }
}

void XmlGeometryReceiver::fillGroupFromSingles(const QStringRef &text)
{
    // Quirk(normal-zero): the new normal goes to the end of the list, but the corners use normal 0;
    // kept because stored scenes hold what came of it, the last geometry's normals showing through included.
    m_currentGeometry->appendNormals({QVector3D(0, 0, 1)});
    const FileIndices indices(readIndices(text, 1));
    m_currentTrimesh->reserveIndices(indices.size());
    for (int i = 0; i < indices.size(); ++i) {
        explainIndex("position", indices[i], m_currentGeometry->vertices().size());
        Q_ASSERT(indices[i] < m_currentGeometry->vertices().size());
        m_currentTrimesh->appendIndex(int(indices[i]));
        m_currentTrimesh->appendNormalIndex(0);
        m_currentTrimesh->appendTexcoordIndex(0);
    }
    qDebug("Warning: No texcoords defined");
    qDebug("Warning: No normals defined");
}

void XmlGeometryReceiver::explainBadIndex(const char *what, qint64 index, int count) const
{
    explainFatal(
        QStringLiteral("geometry \"%1\" refers to %2 number %3, but it has %4 of them, counted from 0: "
                       "export the file again as triangles in which every input has its own offset")
            .arg(m_currentGeometry->id(), QLatin1String(what), QString::number(int(index)),
                 QString::number(count)));
}

} // namespace Quorvel
