#pragma once

#include <QString>

class QDataStream;

namespace Quorvel
{

/// What a scene node can be bound to: a geometry, a camera or a light.
///
/// Record: int32 type code, string id; each kind appends its own fields (docs/formats.md).
class Model
{
public:
    /// Type codes as the scene record writes them.
    enum Type {
        GeometryType = 0,
        CameraType = 1,
        AmbientLightType = 2,
        DirectionalLightType = 3,
        PointLightType = 4,
        SpotLightType = 5
    };

    /// The code that a node without a model writes; never a model's own type.
    static constexpr int NoModel = 6;

    explicit Model(int type) : m_type(type) {}
    virtual ~Model() = default;
    Model(const Model &) = delete;
    Model &operator=(const Model &) = delete;

    virtual QString id() const { return m_id; }
    virtual void setId(const QString &id) { m_id = id; }

    /// Writes or reads the type code and the id. A kind calls this first and then streams its own fields;
    /// reading overwrites the type code that the object was constructed with.
    virtual void write(QDataStream &stream) const;
    virtual void read(QDataStream &stream);

    int type() const { return m_type; }

private:
    int m_type;
    QString m_id;
};

} // namespace Quorvel
