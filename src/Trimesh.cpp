#include "Trimesh.h"

namespace Quorvel
{

void Trimesh::reserveIndices(int corners)
{
    m_indices.reserve(corners);
    m_normalIndices.reserve(corners);
    m_texcoordIndices.reserve(corners);
}

void Trimesh::appendIndices(const QVector<int> &indices, const QVector<int> &normalIndices,
                            const QVector<int> &texcoordIndices)
{
    m_indices += indices;
    m_normalIndices += normalIndices;
    m_texcoordIndices += texcoordIndices;
}

} // namespace Quorvel
