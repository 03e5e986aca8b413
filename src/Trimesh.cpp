#include "Trimesh.h"

namespace Quorvel
{

void Trimesh::reserveIndices(int corners)
{
    m_indices.reserve(corners);
    m_normalIndices.reserve(corners);
    m_texcoordIndices.reserve(corners);
}

} // namespace Quorvel
