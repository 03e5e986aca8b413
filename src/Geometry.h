#pragma once

#include "Model.h"

#include <QList>
#include <QVector2D>
#include <QVector3D>
#include <QVector>

namespace Quorvel
{

class Trimesh;

/// A mesh: vertex arrays in object space, shared by one or more triangle groups. Owns its groups.
class Geometry : public Model
{
public:
    Geometry() : Model(GeometryType) {}
    ~Geometry() override;

    /// In the order in which they were added, which is the order of drawing.
    const QList<Trimesh *> &trimeshes() const { return m_trimeshes; }
    /// Takes ownership.
    void addTrimesh(Trimesh *trimesh) { m_trimeshes.append(trimesh); }

    const QVector<QVector3D> &vertices() const { return m_vertices; }
    const QVector<QVector3D> &normals() const { return m_normals; }
    const QVector<QVector2D> &texcoords() const { return m_texcoords; }
    void setVertices(const QVector<QVector3D> &vertices) { m_vertices = vertices; }
    void setNormals(const QVector<QVector3D> &normals) { m_normals = normals; }
    void setTexcoords(const QVector<QVector2D> &texcoords) { m_texcoords = texcoords; }
    void appendVertices(const QVector<QVector3D> &vertices) { m_vertices += vertices; }
    void appendNormals(const QVector<QVector3D> &normals) { m_normals += normals; }
    void appendTexcoords(const QVector<QVector2D> &texcoords) { m_texcoords += texcoords; }

    /// Result of the last analysis: every edge seen there joins exactly two triangles.
    bool isTwoManifold() const { return m_twoManifold; }
    void setTwoManifold(bool twoManifold) { m_twoManifold = twoManifold; }

    /// Carried through the record; nothing in the viewer fills it.
    const QVector<QVector3D> &extraVectors() const { return m_extraVectors; }
    void setExtraVectors(const QVector<QVector3D> &vectors) { m_extraVectors = vectors; }

    /// The record's first integer list: every group's normal indices, group after group. Setting deals the
    /// list out to the groups that there are by their corner counts; an entry that the list is too short for
    /// becomes 0 in its group. The list itself stays what it was set to, whatever its length.
    QVector<int> firstIntegers() const;
    void setFirstIntegers(const QVector<int> &normalIndices);
    /// The record's second integer list: the same for texture-coordinate indices.
    QVector<int> secondIntegers() const;
    void setSecondIntegers(const QVector<int> &texcoordIndices);

    /// Every group's vertex indices, group after group.
    QVector<int> triangleIndices() const;
    /// Every group's adjacency, group after group: parallel to triangleIndices() once every group is
    /// analysed.
    QVector<int> neighbourIndices() const;

    /// Finds each triangle's neighbours in one triangle list over this geometry's vertices, writes both
    /// outputs (see Trimesh::adjacency(), Trimesh::invalidFaces()) and sets the two-manifold flag. Prints
    /// numbered warnings about edges that break the surface, and "Two-manifold mesh: " with the result.
    void analyze(const QVector<int> &indices, QVector<int> *adjacency, QVector<int> *invalidFaces);

    void write(QDataStream &stream) const override;
    void read(QDataStream &stream) override;

private:
    /// What a list was beside what the groups hold of it.
    class Dealing
    {
    public:
        Dealing() = default;
        /// `missing` entries were the list too short by; negative where it was too long.
        Dealing(const QVector<int> &list, int missing);
        /// The list, from what the groups hold.
        QVector<int> undone(QVector<int> dealt) const;

    private:
        int m_missing = 0;
        QVector<int> m_rest;
    };

    QList<Trimesh *> m_trimeshes;
    QVector<QVector3D> m_vertices;
    QVector<QVector3D> m_normals;
    QVector<QVector2D> m_texcoords;
    bool m_twoManifold = false;
    QVector<QVector3D> m_extraVectors;
    Dealing m_firstDealing;
    Dealing m_secondDealing;
};

} // namespace Quorvel
