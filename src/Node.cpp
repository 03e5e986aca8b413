#include "Node.h"

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Trimesh.h"

#include <algorithm>
#include <cmath>

namespace Quorvel
{

Node::Node(Node *parent) : m_parent(parent)
{
    if (m_parent)
        m_parent->m_children.append(this);
    updateWorldTransform();
}

void Node::setParent(Node *parent)
{
    Q_ASSERT(parent);
    if (m_parent)
        m_parent->m_children.removeAll(this);
    m_parent = parent;
    m_parent->m_children.append(this);
    updateWorldTransform();
}

void Node::setLocalTransform(const QMatrix4x4 &transform)
{
    m_localTransform = transform;
    // The toolkit multiplies and inverts by kinds of matrix that a record does not carry. Finding the kind
    // out from the numbers gives a converted scene and its cached copy the same transforms to the last bit.
    m_localTransform.optimize();
    updateWorldTransform();
}

// Quirk(one-level-update): descendants keep their world transforms when an ancestor moves;
// nodes are attached and read parents first, so each is final when computed, and loading stays linear.
void Node::updateWorldTransform()
{
    m_boundingSphere.radius = 0.0f;
    m_worldTransform = m_parent ? m_parent->m_worldTransform * m_localTransform : m_localTransform;
}

void Node::setModel(Model *model)
{
    m_model = model;
    m_groupMaterialsResolved = false;
}

Camera *Node::cameraModel() const
{
    return m_model && m_model->type() == Model::CameraType ? static_cast<Camera *>(m_model) : nullptr;
}

Light *Node::lightModel() const
{
    return m_model && m_model->type() >= Model::AmbientLightType && m_model->type() <= Model::SpotLightType
               ? static_cast<Light *>(m_model)
               : nullptr;
}

Geometry *Node::geometryModel() const
{
    return m_model && m_model->type() == Model::GeometryType ? static_cast<Geometry *>(m_model) : nullptr;
}

void Node::bindMaterial(const QString &symbol, Material *material)
{
    m_materialBindings.insert(symbol, material);
    m_groupMaterialsResolved = false;
}

const QVector<Material *> &Node::groupMaterials() const
{
    if (!m_groupMaterialsResolved) {
        m_groupMaterials.clear();
        if (const Geometry *geometry = geometryModel()) {
            for (const Trimesh *trimesh : geometry->trimeshes())
                m_groupMaterials.append(m_materialBindings.value(trimesh->materialName(), nullptr));
        }
        m_groupMaterialsResolved = true;
    }
    return m_groupMaterials;
}

BoundingSphere Node::boundingSphere() const
{
    // Quirk(zero-radius-no-cache): a sphere of radius 0 is computed again at every call;
    // kept, 0 is the mark of "not computed", and only nodes with next to nothing below them pay for it.
    if (m_boundingSphere.radius == 0.0f)
        m_boundingSphere = computeBoundingSphere();
    return m_boundingSphere;
}

BoundingSphere Node::computeBoundingSphere() const
{
    QList<Node *> nodes;
    collectDescendants(&nodes);
    nodes.prepend(const_cast<Node *>(this));

    const auto forEachVertex = [&nodes](auto visit) {
        for (const Node *node : qAsConst(nodes)) {
            const Geometry *geometry = node->geometryModel();
            if (!geometry)
                continue;
            for (const QVector3D &vertex : geometry->vertices())
                visit(node->m_worldTransform.map(vertex));
        }
    };

    // Summed in double precision: a float sum over a million vertices drifts visibly.
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    qint64 count = 0;
    forEachVertex([&](const QVector3D &point) {
        x += double(point.x());
        y += double(point.y());
        z += double(point.z());
        ++count;
    });
    const double divisor = count > 1 ? double(count) : 1.0;
    const QVector3D centre(float(x / divisor), float(y / divisor), float(z / divisor));

    float squaredRadius = 0.0f;
    forEachVertex([&](const QVector3D &point) {
        squaredRadius = std::max(squaredRadius, (point - centre).lengthSquared());
    });
    return {centre, std::sqrt(squaredRadius)};
}

bool Node::rayTest(const QVector3D &origin, const QVector3D &towards) const
{
    const BoundingSphere sphere = boundingSphere();
    if ((origin - sphere.centre).length() < sphere.radius)
        return true;
    return raySphereDistance(origin, (towards - origin).normalized(), sphere) >= 0.0f;
}

void Node::collectDescendants(QList<Node *> *nodes) const
{
    int next = nodes->size();
    *nodes += m_children;
    for (; next < nodes->size(); ++next)
        *nodes += nodes->at(next)->m_children;
}

float raySphereDistance(const QVector3D &origin, const QVector3D &direction, const BoundingSphere &sphere)
{
    const QVector3D toCentre = sphere.centre - origin;
    const float along = QVector3D::dotProduct(toCentre, direction);
    const float d = sphere.radius * sphere.radius - (toCentre.lengthSquared() - along * along);
    return d < 0.0f ? -1.0f : along - std::sqrt(d);
}

} // namespace Quorvel
