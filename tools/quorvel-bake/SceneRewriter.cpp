#include "SceneRewriter.h"

#include "Geometry.h"
#include "Node.h"
#include "Scene.h"
#include "SceneRewriterGeometry.h"
#include "Trimesh.h"

namespace Quorvel
{

namespace
{

constexpr int rootElement = 0;

/// The texture coordinates that a geometry was loaded with, corner after corner.
std::vector<Point2> loadedCoordinates(const Geometry &geometry)
{
    std::vector<Point2> coordinates;
    for (const Trimesh *group : geometry.trimeshes()) {
        for (const int index : group->texcoordIndices()) {
            const QVector2D value = geometry.texcoords().value(index);
            coordinates.push_back({double(value.x()), double(value.y())});
        }
    }
    return coordinates;
}

/// The viewer parses up to the first NUL.
QByteArray upToNul(const QByteArray &text)
{
    const int nul = text.indexOf('\0');
    return nul < 0 ? text : text.left(nul);
}

} // namespace

SceneRewriter::SceneRewriter(const QByteArray &text, const Scene &scene)
    : m_outline(upToNul(text)), m_scene(scene)
{
    if (!m_outline.isValid())
        m_error = QStringLiteral("is not well-formed XML");
    else if (!findGeometries())
        m_error =
            QStringLiteral("has geometry inside entities of its document type, which cannot be rewritten");
    else if (!findNodes())
        m_error = QStringLiteral("has nodes inside entities of its document type, which cannot be rewritten");
    else
        findIds();
}

bool SceneRewriter::findGeometries()
{
    for (const int library : m_outline.children(rootElement, "library_geometries")) {
        for (const int geometry : m_outline.children(library, "geometry")) {
            if (m_outline.attribute(geometry, "id"))
                m_geometries.append(geometry);
        }
    }
    if (m_geometries.size() != m_scene.geometries().size())
        return false;
    for (int i = 0; i < m_geometries.size(); ++i) {
        if (SceneRewriterGeometry::primitives(m_outline, m_geometries.at(i)).size() !=
            m_scene.geometries().at(i)->trimeshes().size())
            return false;
    }
    m_instances.resize(m_geometries.size());
    return true;
}

bool SceneRewriter::findNodes()
{
    for (const int library : m_outline.children(rootElement, "library_visual_scenes")) {
        for (const int visualScene : m_outline.children(library, "visual_scene"))
            return findNodes(*m_scene.rootNode(), m_outline.element(visualScene).children);
    }
    return m_scene.rootNode()->children().isEmpty();
}

/// Walks the node tree and the elements that it was loaded from side by side.
bool SceneRewriter::findNodes(const Node &node, const QVector<int> &elements)
{
    if (node.children().size() != elements.size())
        return false;
    for (int i = 0; i < elements.size(); ++i) {
        const Node *child = node.children().at(i);
        if (Geometry *geometry = child->geometryModel()) {
            // Of several objects the last is shown.
            int shown = -1;
            for (const int part : m_outline.element(elements.at(i)).children) {
                if (m_outline.is(part, "instance_geometry") || m_outline.is(part, "instance_light") ||
                    m_outline.is(part, "instance_camera"))
                    shown = part;
            }
            if (shown < 0 || !m_outline.attribute(shown, "url"))
                return false;
            m_instances[m_scene.geometries().indexOf(geometry)].append({int(m_nodes.size()), shown});
            m_nodes.push_back(child);
        }
        if (!findNodes(*child, m_outline.children(elements.at(i), "node")))
            return false;
    }
    return true;
}

void SceneRewriter::findIds()
{
    for (int element = 0; element < m_outline.elementCount(); ++element) {
        if (m_outline.attribute(element, "id"))
            m_usedIds.insert(m_outline.value(element, "id"));
    }
}

QByteArray SceneRewriter::rewritten(const std::vector<std::vector<Point2>> &coordinates, int decimals)
{
    SceneRewriterEdits edits;
    for (int geometry = 0; geometry < m_geometries.size(); ++geometry)
        rewriteGeometry(geometry, coordinates, decimals, &edits);
    return edits.applied(m_outline.text(), 0, m_outline.text().size());
}

void SceneRewriter::rewriteGeometry(int geometry, const std::vector<std::vector<Point2>> &coordinates,
                                    int decimals, SceneRewriterEdits *edits)
{
    const auto &element = m_outline.element(m_geometries.at(geometry));
    const Geometry &loaded = *m_scene.geometries().at(geometry);
    if (loaded.trimeshes().isEmpty())
        return;
    SceneRewriterGeometry writer(m_outline, m_geometries.at(geometry), loaded, &m_usedIds);
    const QVector<Instance> &instances = m_instances.at(geometry);
    if (instances.isEmpty()) {
        // It would take over lists of the geometry before it that are no longer the same.
        if (!writer.isSelfContained())
            edits->replace(element.begin, element.end, writer.rewritten(loadedCoordinates(loaded), decimals));
        return;
    }
    QByteArray text = writer.rewritten(coordinates[size_t(instances.first().node)], decimals);
    for (int i = 1; i < instances.size(); ++i) {
        QByteArray id;
        text += '\n' + doubled(writer.rewritten(coordinates[size_t(instances.at(i).node)], decimals), &id);
        const auto *url = m_outline.attribute(instances.at(i).element, "url");
        edits->replace(url->begin, url->end, '#' + id);
    }
    edits->replace(element.begin, element.end, text);
}

/// The geometry element with other ids, and the geometry's new id.
QByteArray SceneRewriter::doubled(const QByteArray &text, QByteArray *id)
{
    const SceneRewriterOutline outline(text);
    QSet<QByteArray> ids;
    for (int element = 0; element < outline.elementCount(); ++element) {
        if (outline.attribute(element, "id"))
            ids.insert(outline.value(element, "id"));
    }
    const QByteArray suffix = freshSuffix(ids);
    SceneRewriterEdits edits;
    for (int element = 0; element < outline.elementCount(); ++element) {
        if (const auto *own = outline.attribute(element, "id"))
            edits.insert(own->end, suffix);
        for (const char *name : {"source", "url", "target"}) {
            const QByteArray reference = outline.value(element, name);
            if (reference.startsWith('#') && ids.contains(reference.mid(1)))
                edits.insert(outline.attribute(element, name)->end, suffix);
        }
    }
    *id = outline.value(rootElement, "id") + suffix;
    return edits.applied(text, 0, text.size());
}

/// What makes new ids of all of these when it is put at their ends.
QByteArray SceneRewriter::freshSuffix(const QSet<QByteArray> &ids)
{
    for (int number = 2;; ++number) {
        QByteArray suffix = '-' + QByteArray::number(number);
        bool isFree = true;
        for (const QByteArray &id : ids)
            isFree = isFree && !m_usedIds.contains(id + suffix);
        if (!isFree)
            continue;
        for (const QByteArray &id : ids)
            m_usedIds.insert(id + suffix);
        return suffix;
    }
}

} // namespace Quorvel
