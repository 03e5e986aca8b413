#include "SceneRewriterGeometry.h"

#include "Geometry.h"
#include "NumberReader.h"
#include "Trimesh.h"

#include <tsl/robin_map.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace Quorvel
{

namespace
{

const char *const vectorNames[] = {"X", "Y", "Z"};
const char *const texcoordNames[] = {"S", "T", "P"};
constexpr int ownColumns = 3;

void appendNumber(QByteArray *text, float value)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    text->append(digits, int(end - digits));
}

void appendNumber(QByteArray *text, int value)
{
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    text->append(digits, int(end - digits));
}

/// `units` of 10 to the power of -decimals, without zeros at the end.
void appendDecimal(QByteArray *text, qint64 units, int decimals)
{
    QByteArray digits = QByteArray::number(units).rightJustified(decimals + 1, '0');
    digits.insert(digits.size() - decimals, '.');
    while (digits.endsWith('0'))
        digits.chop(1);
    if (digits.endsWith('.'))
        digits.chop(1);
    text->append(digits);
}

/// Spreads pairs of numbers that lie on a grid over the whole table (Fibonacci hashing).
struct PairHash
{
    size_t operator()(quint64 pair) const { return size_t((pair * 0x9e3779b97f4a7c15u) >> 32); }
};

const QVector<int> &indicesOf(const Trimesh &group, bool normals)
{
    return normals ? group.normalIndices() : group.indices();
}

QByteArray indexText(const QVector<int> &columns, int stride, int firstCorner, int corners)
{
    QByteArray text;
    for (int i = firstCorner * stride; i < (firstCorner + corners) * stride; ++i) {
        if (!text.isEmpty())
            text.append(' ');
        appendNumber(&text, columns.at(i));
    }
    return text;
}

} // namespace

SceneRewriterGeometry::SceneRewriterGeometry(const SceneRewriterOutline &outline, int element,
                                             const Geometry &geometry, QSet<QByteArray> *usedIds)
    : m_outline(outline)
    , m_element(element)
    , m_geometry(geometry)
    , m_usedIds(usedIds)
    , m_primitives(primitives(outline, element))
{
}

QVector<int> SceneRewriterGeometry::primitives(const SceneRewriterOutline &outline, int element)
{
    return outline.below(element, "triangles") + outline.below(element, "polygons");
}

/// The sources that the viewer reads the list from, without those inside other ones.
QVector<int> SceneRewriterGeometry::sources(List list) const
{
    QSet<QByteArray> references;
    for (const int input : m_outline.below(m_element, "input")) {
        const QByteArray semantic = m_outline.value(input, "semantic");
        const bool feeds =
            list == List::Normals ? semantic == "NORMAL"
            : list == List::Texcoords
                ? semantic == "TEXCOORD"
                : semantic == "POSITION" && m_outline.is(m_outline.element(input).parent, "vertices");
        if (feeds)
            references.insert(m_outline.value(input, "source"));
    }
    QVector<int> found;
    for (const int source : m_outline.below(m_element, "source")) {
        const bool inside =
            !found.isEmpty() && m_outline.element(source).begin < m_outline.element(found.last()).end;
        if (!inside && m_outline.attribute(source, "id") &&
            references.contains('#' + m_outline.value(source, "id")))
            found.append(source);
    }
    return found;
}

bool SceneRewriterGeometry::holds(List list) const
{
    for (const int source : sources(list)) {
        for (const int array : m_outline.below(source, "float_array")) {
            if (!m_outline.plainText(array).trimmed().isEmpty())
                return true;
        }
    }
    return false;
}

bool SceneRewriterGeometry::isSelfContained() const
{
    return holds(List::Positions) && holds(List::Normals) && holds(List::Texcoords);
}

/// Length of the list as the file gives it. The loaded one repeats it for each group, and has a normal more
/// for each group that has positions only.
int SceneRewriterGeometry::listSize(List list) const
{
    const int groups = m_geometry.trimeshes().size();
    if (list == List::Positions)
        return m_geometry.vertices().size() / groups;
    int single = 0;
    for (int g = 0; g < groups; ++g) {
        if (m_outline.children(m_primitives.at(g), "input").size() == 1 &&
            !m_geometry.trimeshes().at(g)->indices().isEmpty())
            ++single;
    }
    return (m_geometry.normals().size() - single) / groups;
}

QByteArray SceneRewriterGeometry::freshId(const char *suffix)
{
    const QByteArray wish = m_outline.value(m_element, "id") + suffix;
    QByteArray id = wish;
    for (int i = 2; m_usedIds->contains(id); ++i)
        id = wish + '-' + QByteArray::number(i);
    m_usedIds->insert(id);
    return id;
}

SceneRewriterGeometry::Column SceneRewriterGeometry::vectors(List list)
{
    const bool normals = list == List::Normals;
    Column column;
    int highest = -1;
    for (const Trimesh *group : m_geometry.trimeshes()) {
        for (const int index : indicesOf(*group, normals)) {
            column.indices.push_back(index);
            highest = std::max(highest, index);
        }
    }
    if (highest < 0)
        return column;
    if (holds(list) && highest < listSize(list)) {
        column.source = m_outline.value(sources(list).first(), "id");
        return column;
    }
    const QVector<QVector3D> &values = normals ? m_geometry.normals() : m_geometry.vertices();
    column.source = freshId(normals ? "-shown-normals" : "-shown-positions");
    column.count = highest + 1;
    for (int i = 0; i < column.count; ++i) {
        const QVector3D value = values.value(i);
        for (int k = 0; k < 3; ++k) {
            if (!column.numbers.isEmpty())
                column.numbers.append(' ');
            appendNumber(&column.numbers, value[k]);
        }
    }
    return column;
}

SceneRewriterGeometry::Column SceneRewriterGeometry::texcoords(const std::vector<Point2> &coordinates,
                                                               int decimals)
{
    Column column;
    column.source = freshId("-atlas");
    double unit = 1.0;
    for (int i = 0; i < decimals; ++i)
        unit *= 10.0;
    tsl::robin_map<quint64, int, PairHash> known;
    for (const Point2 &point : coordinates) {
        const qint64 s = qRound64(point.x * unit);
        const qint64 t = qRound64(point.y * unit);
        const auto [entry, isNew] = known.insert({quint64(s) << 32 | quint64(t), column.count});
        column.indices.push_back(entry->second);
        if (!isNew)
            continue;
        if (column.count++ > 0)
            column.numbers.append(' ');
        appendDecimal(&column.numbers, s, decimals);
        column.numbers.append(' ');
        appendDecimal(&column.numbers, t, decimals);
        column.numbers.append(" 0");
    }
    return column;
}

QByteArray SceneRewriterGeometry::rewritten(const std::vector<Point2> &coordinates, int decimals)
{
    m_edits = {};
    m_positions = vectors(List::Positions);
    m_normals = vectors(List::Normals);
    m_texcoords = texcoords(coordinates, decimals);
    if (!m_positions.indices.empty()) {
        if (m_positions.count > 0)
            m_newVertices = freshId("-shown-vertices");
        insertSources();
        removeOldSources();
        size_t firstCorner = 0;
        for (int g = 0; g < m_primitives.size(); ++g) {
            const int corners = m_geometry.trimeshes().at(g)->indices().size();
            if (corners > 0)
                rewritePrimitive(m_primitives.at(g), firstCorner, corners);
            firstCorner += size_t(corners);
        }
    }
    const auto &element = m_outline.element(m_element);
    return m_edits.applied(m_outline.text(), element.begin, element.end);
}

/// What the new sources go before: sources are read in the order in which they stand, and the indices count
/// from the new ones.
int SceneRewriterGeometry::firstPart() const
{
    int first = m_primitives.first();
    for (const int part :
         m_outline.below(m_element, "source") + m_outline.below(m_element, "vertices") + m_primitives)
        first = std::min(first, part);
    return first;
}

void SceneRewriterGeometry::insertSources()
{
    const int part = firstPart();
    const QByteArray gap = indent(part);
    QByteArray text;
    if (m_positions.count > 0)
        text += sourceText(m_positions, vectorNames) + gap;
    if (m_normals.count > 0)
        text += sourceText(m_normals, vectorNames) + gap;
    text += sourceText(m_texcoords, texcoordNames) + gap;
    if (m_positions.count > 0) {
        const QByteArray prefix = m_outline.prefix(m_element);
        text += '<' + prefix + "vertices id=\"" + m_newVertices + "\"><" + prefix +
                "input semantic=\"POSITION\" source=\"#" + m_positions.source + "\"/></" + prefix +
                "vertices>" + gap;
    }
    m_edits.insert(m_outline.element(part).begin, text);
}

QByteArray SceneRewriterGeometry::sourceText(const Column &column, const char *const *names) const
{
    const QByteArray prefix = m_outline.prefix(m_element);
    const QByteArray array = column.source + "-array";
    QByteArray params;
    for (int i = 0; i < 3; ++i)
        params += '<' + prefix + "param name=\"" + names[i] + "\" type=\"float\"/>";
    return '<' + prefix + "source id=\"" + column.source + "\"><" + prefix + "float_array id=\"" + array +
           "\" count=\"" + QByteArray::number(3 * column.count) + "\">" + column.numbers + "</" + prefix +
           "float_array><" + prefix + "technique_common><" + prefix + "accessor source=\"#" + array +
           "\" count=\"" + QByteArray::number(column.count) + "\" stride=\"3\">" + params + "</" + prefix +
           "accessor></" + prefix + "technique_common></" + prefix + "source>";
}

/// Removes the texture coordinates that nothing refers to any more.
void SceneRewriterGeometry::removeOldSources()
{
    QSet<QByteArray> kept;
    for (const int input : m_outline.below(m_element, "input")) {
        const int group = m_primitives.indexOf(m_outline.element(input).parent);
        const bool goes = group >= 0 && !m_geometry.trimeshes().at(group)->indices().isEmpty() &&
                          m_outline.value(input, "semantic") == "TEXCOORD";
        if (!goes)
            kept.insert(m_outline.value(input, "source"));
    }
    const int first = firstPart();
    for (const int source : sources(List::Texcoords)) {
        const bool insideOther = m_outline.is(m_outline.element(source).parent, "source");
        if (kept.contains('#' + m_outline.value(source, "id")) || insideOther)
            continue;
        if (source == first)
            m_edits.replace(m_outline.element(source).begin, m_outline.element(source).end, QByteArray());
        else
            remove(source);
    }
}

void SceneRewriterGeometry::remove(int element)
{
    int begin = m_outline.element(element).begin;
    while (begin > 0 && std::isspace(static_cast<uchar>(m_outline.text().at(begin - 1))))
        --begin;
    m_edits.replace(begin, m_outline.element(element).end, QByteArray());
}

/// The line break and the blanks before an element; nothing when it follows something else on its line.
QByteArray SceneRewriterGeometry::indent(int element) const
{
    const int end = m_outline.element(element).begin;
    int begin = end;
    while (begin > 0 && (m_outline.text().at(begin - 1) == ' ' || m_outline.text().at(begin - 1) == '\t'))
        --begin;
    if (begin == 0 || m_outline.text().at(begin - 1) != '\n')
        return {};
    --begin;
    if (begin > 0 && m_outline.text().at(begin - 1) == '\r')
        --begin;
    return m_outline.text().mid(begin, end - begin);
}

int SceneRewriterGeometry::firstInput(int primitive, const char *semantic) const
{
    for (const int input : m_outline.children(primitive, "input")) {
        if (m_outline.value(input, "semantic") == semantic)
            return input;
    }
    return -1;
}

/// The inputs that neither feed the viewer nor are replaced.
QVector<int> SceneRewriterGeometry::otherInputs(int primitive) const
{
    QVector<int> others;
    for (const int input : m_outline.children(primitive, "input")) {
        if (input != firstInput(primitive, "VERTEX") && input != firstInput(primitive, "NORMAL") &&
            m_outline.value(input, "semantic") != "TEXCOORD")
            others.append(input);
    }
    return others;
}

/// Their indices, corner after corner. Zeros where the inputs' offsets are not those of the index list.
QVector<int> SceneRewriterGeometry::otherIndices(int primitive, const QVector<int> &others, int corners) const
{
    const QVector<int> inputs = m_outline.children(primitive, "input");
    QVector<int> indices(corners * others.size(), 0);
    QSet<int> offsets;
    for (const int input : inputs)
        offsets.insert(m_outline.value(input, "offset").toInt());
    QByteArray text;
    for (const int list : m_outline.below(primitive, "p"))
        text += m_outline.plainText(list) + ' ';
    const QString wide = QString::fromLatin1(text);
    const QVector<int> all = NumberReader::readIndices(QStringRef(&wide), 1, 1);
    if (offsets.size() != inputs.size() || all.size() < corners * inputs.size())
        return indices;
    for (int i = 0; i < others.size(); ++i) {
        const int offset = m_outline.value(others.at(i), "offset").toInt();
        if (offset < 0 || offset >= inputs.size())
            continue;
        for (int corner = 0; corner < corners; ++corner)
            indices[corner * others.size() + i] = all.at(corner * inputs.size() + offset);
    }
    return indices;
}

/// The input's own text with another offset and, unless it is empty, another source.
QByteArray SceneRewriterGeometry::retagged(int input, const QByteArray &source, int offset) const
{
    const auto &element = m_outline.element(input);
    SceneRewriterEdits edits;
    const int afterName = element.begin + 1 + element.name.size();
    const auto set = [&](const char *name, const QByteArray &value) {
        if (const auto *attribute = m_outline.attribute(input, name))
            edits.replace(attribute->begin, attribute->end, value);
        else
            edits.insert(afterName, QByteArray(" ") + name + "=\"" + value + '"');
    };
    set("offset", QByteArray::number(offset));
    if (!source.isEmpty())
        set("source", '#' + source);
    return edits.applied(m_outline.text(), element.begin, element.end);
}

QByteArray SceneRewriterGeometry::inputsText(int primitive, const QVector<int> &others) const
{
    const QVector<int> inputs = m_outline.children(primitive, "input");
    const QByteArray gap = indent(inputs.first());
    const auto fresh = [&](const char *semantic, const QByteArray &source, int offset) {
        return '<' + m_outline.prefix(primitive) + "input semantic=\"" + semantic + "\" source=\"#" + source +
               "\" offset=\"" + QByteArray::number(offset) + '"';
    };
    const int vertex = firstInput(primitive, "VERTEX");
    const int normal = firstInput(primitive, "NORMAL");
    QByteArray vertices = m_newVertices;
    if (vertices.isEmpty() && vertex < 0) {
        for (const int element : m_outline.below(m_element, "vertices")) {
            if (vertices.isEmpty())
                vertices = m_outline.value(element, "id");
        }
    }
    QByteArray text = vertex >= 0 ? retagged(vertex, vertices, 0) : fresh("VERTEX", vertices, 0) + "/>";
    text += gap;
    text += normal >= 0 ? retagged(normal, m_normals.count > 0 ? m_normals.source : QByteArray(), 1)
                        : fresh("NORMAL", m_normals.source, 1) + "/>";
    text += gap + fresh("TEXCOORD", m_texcoords.source, 2) + " set=\"0\"/>";
    for (int i = 0; i < others.size(); ++i)
        text += gap + retagged(others.at(i), QByteArray(), ownColumns + i);
    return text;
}

QByteArray SceneRewriterGeometry::listsText(int primitive, const QVector<int> &others, size_t firstCorner,
                                            int corners, int *listCount) const
{
    const QVector<int> more = otherIndices(primitive, others, corners);
    const int stride = ownColumns + others.size();
    QVector<int> columns;
    columns.reserve(corners * stride);
    for (int corner = 0; corner < corners; ++corner) {
        const size_t i = firstCorner + size_t(corner);
        columns << m_positions.indices[i] << m_normals.indices[i] << m_texcoords.indices[i];
        for (int k = 0; k < others.size(); ++k)
            columns << more.at(corner * others.size() + k);
    }
    // One list for each polygon, one for all triangles. Corners that make no whole triangle stay with the
    // last.
    const bool polygons = m_outline.is(primitive, "polygons");
    const QByteArray name = m_outline.prefix(primitive) + 'p';
    *listCount = polygons ? std::max(1, corners / 3) : 1;
    QByteArray text;
    for (int list = 0; list < *listCount; ++list) {
        const int first = 3 * list;
        const int count = list + 1 < *listCount ? 3 : corners - first;
        text += '<' + name + '>' + indexText(columns, stride, first, count) + "</" + name + '>';
    }
    return text;
}

void SceneRewriterGeometry::rewritePrimitive(int primitive, size_t firstCorner, int corners)
{
    const QVector<int> others = otherInputs(primitive);
    const QByteArray inputs = inputsText(primitive, others);
    int listCount = 0;
    const QByteArray lists = listsText(primitive, others, firstCorner, corners, &listCount);
    bool inputsWritten = false;
    bool listsWritten = false;
    for (const int child : m_outline.element(primitive).children) {
        const auto &element = m_outline.element(child);
        if (m_outline.is(child, "input")) {
            if (inputsWritten)
                remove(child);
            else
                m_edits.replace(element.begin, element.end, inputs);
            inputsWritten = true;
        } else if (m_outline.is(child, "p") || !m_outline.below(child, "p").isEmpty()) {
            if (listsWritten)
                remove(child);
            else
                m_edits.replace(element.begin, element.end, lists);
            listsWritten = true;
        }
    }
    if (!listsWritten)
        m_edits.insert(m_outline.element(primitive).contentEnd, lists);
    const auto *count = m_outline.attribute(primitive, "count");
    if (count && m_outline.is(primitive, "polygons"))
        m_edits.replace(count->begin, count->end, QByteArray::number(listCount));
}

} // namespace Quorvel
