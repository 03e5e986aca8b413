#include "SceneRecordCheck.h"

#include "Model.h"

#include <QByteArray>
#include <QSet>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

namespace Quorvel
{

namespace
{

// Bytes of the smallest of each kind of thing that the record counts.
constexpr int integerSize = 4;
constexpr int realSize = 8;
constexpr int vectorSize = 3 * realSize;
constexpr int colorSize = 11;
constexpr int smallestString = 4;
constexpr int smallestModel = integerSize + smallestString;
constexpr int smallestGroup = smallestString + 3 * integerSize;
constexpr int smallestGeometry = smallestModel + 7 * integerSize + 1;
constexpr int smallestLight = smallestModel + colorSize + vectorSize + smallestString + vectorSize + 1;
constexpr int smallestCamera = smallestModel + vectorSize + smallestString;
constexpr int smallestMaterial = smallestString + 5 * colorSize + vectorSize;
constexpr int smallestNode = 16 * realSize + smallestString + 3 * integerSize;
constexpr int smallestBinding = 2 * smallestString;

bool isLightType(qint32 type)
{
    return type >= Model::AmbientLightType && type <= Model::SpotLightType;
}

/// Whether floats can hold the record's reals.
bool areFinite(const char *reals, qint64 count)
{
    for (qint64 i = 0; i < count; ++i) {
        const quint64 bits = qFromBigEndian<quint64>(reals + i * realSize);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (!(std::fabs(value) <= double(std::numeric_limits<float>::max())))
            return false;
    }
    return true;
}

/// A list inside the record.
struct List
{
    const char *begin = nullptr;
    qint32 count = 0;

    qint32 integer(qint64 i) const { return qFromBigEndian<qint32>(begin + i * integerSize); }
};

/// The first entry from `begin` up to `end` that does not lie in [least, limit); `end` without one.
qint64 firstOutside(const List &list, qint64 begin, qint64 end, qint32 least, qint32 limit)
{
    const quint32 range = quint32(limit) - quint32(least);
    const auto isOutside = [=](qint32 entry) { return quint32(entry) - quint32(least) >= range; };
    std::array<qint32, 2048> entries;
    for (qint64 at = begin; at < end; at += qint64(entries.size())) {
        const auto count = int(std::min(qint64(entries.size()), end - at));
        qFromBigEndian<qint32>(list.begin + at * integerSize, count, entries.data());
        // Without an early exit, for the compiler to take many entries at a time.
        quint32 outside = 0;
        for (int i = 0; i < count; ++i)
            outside |= quint32(isOutside(entries[size_t(i)]));
        if (outside)
            return at + (std::find_if(entries.begin(), entries.begin() + count, isOutside) - entries.begin());
    }
    return end;
}

/// Goes through bytes front to back. Every reading returns false, and leaves the fault, where the bytes do
/// not hold what is asked for.
class Cursor
{
public:
    explicit Cursor(std::string_view bytes)
        : m_begin(bytes.data()), m_at(m_begin), m_end(m_begin + bytes.size())
    {
    }

    QString fault() const { return m_fault; }
    qint64 left() const { return m_end - m_at; }

    /// What is being read, for the fault to name.
    void enter(const char *section, qint32 index)
    {
        m_section = section;
        m_index = index;
    }

    /// A fault, and where the cursor is.
    QString located(const QString &what) const
    {
        const QString where = m_index < 0 ? QString::fromLatin1(m_section)
                                          : QStringLiteral("%1 %2").arg(m_section).arg(m_index);
        return QStringLiteral("%1, before byte %2: %3").arg(where).arg(m_at - m_begin).arg(what);
    }

    /// Always false, for callers to return.
    bool fail(const QString &what) { return failLocated(located(what)); }
    /// For a fault that was met before, and counts now.
    bool failLocated(const QString &fault)
    {
        if (m_fault.isEmpty())
            m_fault = fault;
        return false;
    }

    bool skip(qint64 size)
    {
        if (size > left())
            return fail(QStringLiteral("the record ends"));
        m_at += size;
        return true;
    }

    bool byte(quint8 *value)
    {
        if (!skip(1))
            return false;
        *value = quint8(m_at[-1]);
        return true;
    }

    bool integer(qint32 *value)
    {
        if (!skip(integerSize))
            return false;
        *value = qFromBigEndian<qint32>(m_at - integerSize);
        return true;
    }

    /// A number of things of which each takes at least `smallest` bytes.
    bool count(const char *things, int smallest, qint32 *value)
    {
        if (!integer(value))
            return false;
        if (*value < 0 || *value > left() / smallest) {
            return fail(QStringLiteral("%1 %2 do not fit into %3 bytes")
                            .arg(quint32(*value))
                            .arg(QLatin1String(things))
                            .arg(left()));
        }
        return true;
    }

    bool list(const char *things, int elementSize, List *list)
    {
        if (!count(things, elementSize, &list->count))
            return false;
        list->begin = m_at;
        return skip(qint64(list->count) * elementSize);
    }

    /// The UTF-16 of a string, in place; empty for a null one.
    bool string(QByteArray *text = nullptr)
    {
        qint32 announced = 0;
        if (!integer(&announced))
            return false;
        const auto size = quint32(announced);
        if (size == std::numeric_limits<quint32>::max())
            return true;
        constexpr quint32 longest = std::numeric_limits<int>::max();
        if (size % 2 != 0 || size > left() || size > longest) {
            return fail(
                QStringLiteral("a string of %1 bytes does not fit into %2 bytes").arg(size).arg(left()));
        }
        if (text)
            *text = QByteArray::fromRawData(m_at, int(size));
        return skip(size);
    }

    bool flag()
    {
        quint8 value = 0;
        if (!byte(&value))
            return false;
        return value <= 1 || fail(QStringLiteral("%1 is no truth value").arg(value));
    }

    bool color()
    {
        constexpr quint8 invalid = 0;
        constexpr quint8 rgb = 1;
        constexpr quint8 extendedRgb = 5;
        quint8 kind = 0;
        if (!byte(&kind))
            return false;
        if (kind != invalid && kind != rgb && kind != extendedRgb)
            return fail(QStringLiteral("%1 is no kind of colour").arg(kind));
        return skip(colorSize - 1);
    }

    bool matrix(bool *isFinite)
    {
        constexpr int reals = 16;
        constexpr int size = reals * realSize;
        if (!skip(size))
            return false;
        *isFinite = areFinite(m_at - size, reals);
        return true;
    }

private:
    const char *m_begin;
    const char *m_at;
    const char *m_end;
    const char *m_section = "record";
    qint32 m_index = -1;
    QString m_fault;
};

/// One record from front to back, and what its nodes need to know of what stands before them.
class RecordWalk
{
public:
    RecordWalk(std::string_view record, SceneRecordCheck::Origin origin)
        : m_cursor(record), m_isFromElsewhere(origin == SceneRecordCheck::Origin::Elsewhere)
    {
    }

    /// The fault, or an empty text.
    QString walk()
    {
        const bool sound = scene();
        Q_ASSERT(sound == m_cursor.fault().isEmpty());
        return m_cursor.fault();
    }

private:
    struct GeometryFacts
    {
        qint64 vertices = 0;
        qint64 corners = 0;
        /// Why no node may show it; empty when one may.
        QString fault;
    };

    struct LightAim
    {
        qint32 type = 0;
        QByteArray target;
    };

    /// The integer lists that a geometry's groups share, and how far they are dealt out.
    struct SharedLists
    {
        qint32 vertices = 0;
        qint32 normals = 0;
        qint32 texcoords = 0;
        List normalIndices;
        List texcoordIndices;
        qint64 dealt = 0;
    };

    bool scene();
    template <typename ReadOne>
    bool section(const char *things, const char *thing, int smallest, ReadOne readOne);
    bool modelHeader(qint32 *type);
    bool geometry();
    bool group(SharedLists *lists, QString *fault);
    QString indices(const char *what, const List &list, qint64 first, qint64 count, qint32 least,
                    qint32 end) const;
    bool light();
    bool camera();
    bool material();
    bool node();
    bool modelReference(GeometryFacts *facts);
    bool staysBelowTheLimits(const GeometryFacts &facts, qint32 depth);
    bool targetsExist();

    Cursor m_cursor;
    bool m_isFromElsewhere;
    std::vector<GeometryFacts> m_geometries;
    std::vector<LightAim> m_lights;
    qint32 m_cameras = 0;
    std::vector<QByteArray> m_nodeIds;
    /// Levels above each node, the root's included.
    std::vector<qint32> m_nodeDepths;
    QSet<QByteArray> m_targets;
    bool m_hasCamera = false;
    qint64 m_frameCorners = 0;
    qint64 m_sphereVertices = 0;
};

bool RecordWalk::scene()
{
    const bool read = m_cursor.string() && m_cursor.skip(vectorSize) &&
                      section("geometries", "geometry", smallestGeometry, [this] { return geometry(); }) &&
                      section("lights", "light", smallestLight, [this] { return light(); }) &&
                      section("cameras", "camera", smallestCamera, [this] { return camera(); }) &&
                      section("materials", "material", smallestMaterial, [this] { return material(); }) &&
                      section("nodes", "node", smallestNode, [this] { return node(); });
    if (!read)
        return false;
    if (m_cursor.left() > 0)
        return m_cursor.fail(QStringLiteral("%1 bytes follow the last node").arg(m_cursor.left()));
    if (!m_hasCamera)
        return m_cursor.fail(QStringLiteral("no node holds a camera"));
    return !m_isFromElsewhere || targetsExist();
}

template <typename ReadOne>
bool RecordWalk::section(const char *things, const char *thing, int smallest, ReadOne readOne)
{
    qint32 count = 0;
    if (!m_cursor.count(things, smallest, &count))
        return false;
    for (qint32 i = 0; i < count; ++i) {
        m_cursor.enter(thing, i);
        if (!readOne())
            return false;
    }
    m_cursor.enter("record", -1);
    return true;
}

bool RecordWalk::modelHeader(qint32 *type)
{
    return m_cursor.integer(type) && m_cursor.string();
}

bool RecordWalk::geometry()
{
    qint32 type = 0;
    SharedLists lists;
    List vertices;
    List normals;
    List texcoords;
    List extraVectors;
    qint32 groups = 0;
    const bool read = modelHeader(&type) && m_cursor.list("vertices", vectorSize, &vertices) &&
                      m_cursor.list("normals", vectorSize, &normals) &&
                      m_cursor.list("texture coordinates", 2 * realSize, &texcoords) && m_cursor.flag() &&
                      m_cursor.list("extra vectors", vectorSize, &extraVectors) &&
                      m_cursor.list("normal indices", integerSize, &lists.normalIndices) &&
                      m_cursor.list("texture-coordinate indices", integerSize, &lists.texcoordIndices) &&
                      m_cursor.count("triangle groups", smallestGroup, &groups);
    if (!read)
        return false;
    if (type != Model::GeometryType)
        return m_cursor.fail(QStringLiteral("%1 is no type code of a geometry").arg(type));
    lists.vertices = vertices.count;
    lists.normals = normals.count;
    lists.texcoords = texcoords.count;

    GeometryFacts facts;
    facts.vertices = vertices.count;
    for (qint32 i = 0; i < groups; ++i) {
        QString fault;
        if (!group(&lists, &fault))
            return false;
        if (facts.fault.isEmpty() && !fault.isEmpty())
            facts.fault = m_cursor.located(fault);
        // The buffer of a group repeats the groups before it.
        facts.corners += lists.dealt + 1;
    }
    m_geometries.push_back(facts);
    return true;
}

/// `fault` is what the group's indices hold against its being drawn, if anything.
bool RecordWalk::group(SharedLists *lists, QString *fault)
{
    List corners;
    List adjacency;
    List invalidFaces;
    const bool read = m_cursor.string() && m_cursor.list("indices", integerSize, &corners) &&
                      m_cursor.list("neighbours", integerSize, &adjacency) &&
                      m_cursor.list("invalid faces", integerSize, &invalidFaces);
    if (!read)
        return false;
    const qint32 triangles = corners.count / 3 + (corners.count % 3 != 0 ? 1 : 0);
    const QString faults[] = {
        indices("position", corners, 0, corners.count, 0, lists->vertices),
        indices("neighbour", adjacency, 0, adjacency.count, -1, lists->vertices),
        indices("invalid face", invalidFaces, 0, invalidFaces.count, 0, triangles),
        indices("normal", lists->normalIndices, lists->dealt, corners.count, 0, lists->normals),
        indices("texture coordinate", lists->texcoordIndices, lists->dealt, corners.count, 0,
                lists->texcoords)};
    const auto found = std::find_if(std::begin(faults), std::end(faults),
                                    [](const QString &text) { return !text.isEmpty(); });
    if (found != std::end(faults))
        *fault = *found;
    lists->dealt += corners.count;
    return true;
}

/// Empty when `count` entries of the list from `first` on, taken as 0 past the list's end, lie between
/// `least` and `end`; else what is wrong.
QString RecordWalk::indices(const char *what, const List &list, qint64 first, qint64 count, qint32 least,
                            qint32 end) const
{
    const auto fault = [&](qint32 index) {
        return QStringLiteral("there is no %1 %2, only %3").arg(QLatin1String(what)).arg(index).arg(end);
    };
    const qint64 present = qBound(qint64(0), list.count - first, count);
    const qint64 outside = firstOutside(list, first, first + present, least, end);
    if (outside < first + present)
        return fault(list.integer(outside));
    return present == count || end > 0 ? QString() : fault(0);
}

bool RecordWalk::light()
{
    LightAim aim;
    const bool read = modelHeader(&aim.type) && m_cursor.color() && m_cursor.skip(vectorSize) &&
                      m_cursor.string(&aim.target) && m_cursor.skip(vectorSize) && m_cursor.flag();
    if (!read)
        return false;
    if (!isLightType(aim.type))
        return m_cursor.fail(QStringLiteral("%1 is no type code of a light").arg(aim.type));
    m_lights.push_back(aim);
    return true;
}

bool RecordWalk::camera()
{
    qint32 type = 0;
    if (!modelHeader(&type) || !m_cursor.skip(vectorSize) || !m_cursor.string())
        return false;
    if (type != Model::CameraType)
        return m_cursor.fail(QStringLiteral("%1 is no type code of a camera").arg(type));
    ++m_cameras;
    return true;
}

bool RecordWalk::material()
{
    for (int part = 0; part < 6; ++part) {
        if (!(part == 0 ? m_cursor.string() : m_cursor.color()))
            return false;
    }
    return m_cursor.skip(vectorSize);
}

bool RecordWalk::node()
{
    QByteArray id;
    qint32 parent = -1;
    bool isFinite = true;
    if (!m_cursor.matrix(&isFinite))
        return false;
    if (m_isFromElsewhere && !isFinite)
        return m_cursor.fail(QStringLiteral("a matrix is not finite"));
    if (!m_cursor.string(&id) || !m_cursor.integer(&parent))
        return false;
    const auto index = qint32(m_nodeIds.size());
    if (parent < -1 || parent >= index)
        return m_cursor.fail(QStringLiteral("the parent %1 does not stand before its child").arg(parent));
    const qint32 depth = parent < 0 ? 1 : m_nodeDepths[size_t(parent)] + 1;
    m_nodeIds.push_back(id);
    m_nodeDepths.push_back(depth);

    GeometryFacts facts;
    qint32 bindings = 0;
    if (!modelReference(&facts) || !m_cursor.count("bindings", smallestBinding, &bindings))
        return false;
    for (qint32 i = 0; i < bindings; ++i) {
        if (!m_cursor.string() || !m_cursor.string())
            return false;
    }
    return !m_isFromElsewhere || staysBelowTheLimits(facts, depth);
}

bool RecordWalk::staysBelowTheLimits(const GeometryFacts &facts, qint32 depth)
{
    m_frameCorners += facts.corners;
    m_sphereVertices += (facts.vertices + 1) * (depth + 1);
    if (m_frameCorners > SceneRecordCheck::MaximumFrameCorners)
        return m_cursor.fail(QStringLiteral("the scene has too many triangles to draw"));
    if (m_sphereVertices > SceneRecordCheck::MaximumSphereVertices)
        return m_cursor.fail(QStringLiteral("the scene has too many vertices in too deep a tree"));
    return true;
}

bool RecordWalk::modelReference(GeometryFacts *facts)
{
    qint32 kind = Model::NoModel;
    qint32 index = 0;
    if (!m_cursor.integer(&kind))
        return false;
    if (kind == Model::NoModel)
        return true;
    if (kind != Model::GeometryType && kind != Model::CameraType && !isLightType(kind))
        return m_cursor.fail(QStringLiteral("%1 is no kind of model").arg(kind));
    if (!m_cursor.integer(&index))
        return false;
    const auto held = kind == Model::GeometryType ? qint64(m_geometries.size())
                      : kind == Model::CameraType ? qint64(m_cameras)
                                                  : qint64(m_lights.size());
    if (index < 0 || index >= held)
        return m_cursor.fail(QStringLiteral("there is no model %1 of kind %2").arg(index).arg(kind));

    if (kind == Model::GeometryType) {
        *facts = m_geometries[size_t(index)];
        if (!facts->fault.isEmpty())
            return m_cursor.failLocated(facts->fault);
    } else if (kind == Model::CameraType) {
        m_hasCamera = true;
    } else {
        const LightAim &aim = m_lights[size_t(index)];
        if (aim.type != kind)
            return m_cursor.fail(QStringLiteral("a light of type %1 is called %2").arg(aim.type).arg(kind));
        if (kind != Model::AmbientLightType && !aim.target.isEmpty())
            m_targets.insert(aim.target);
    }
    return true;
}

bool RecordWalk::targetsExist()
{
    for (const QByteArray &id : m_nodeIds) {
        if (m_targets.isEmpty())
            break;
        m_targets.remove(id);
    }
    return m_targets.isEmpty() || m_cursor.fail(QStringLiteral("a light aims at a node that does not exist"));
}

} // namespace

SceneRecordCheck::SceneRecordCheck(const QByteArray &record)
    : SceneRecordCheck(std::string_view(record.constData(), size_t(record.size())), Origin::Elsewhere)
{
}

SceneRecordCheck::SceneRecordCheck(std::string_view record, Origin origin)
    : m_fault(RecordWalk(record, origin).walk())
{
}

} // namespace Quorvel
