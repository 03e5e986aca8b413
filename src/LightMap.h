#pragma once

#include <QString>

#include <memory>

class QGLFramebufferObject;

namespace Quorvel
{

/// A scene's lighting baked into one image, which lies beside the scene file under the file's name and
/// ".png".
///
/// Every member but fileName(), the destructor included, needs the owning GL context current.
class LightMap
{
public:
    LightMap();
    LightMap(LightMap &&other) noexcept;
    LightMap &operator=(LightMap &&other) noexcept;
    LightMap(const LightMap &) = delete;
    LightMap &operator=(const LightMap &) = delete;
    ~LightMap();

    /// Where the light map of a scene file lies, resource or file.
    static QString fileName(const QString &scenePath);

    /// Uploads an image file, and tells whether GL was asked to. Pending GL errors are forgotten first, so
    /// that those left behind are the upload's. A file that is no image, or larger than GL can hold, leaves
    /// nothing loaded, with one warning however often it is asked for.
    bool load(const QString &fileName);
    bool isLoaded() const { return bool(m_texture); }

    /// Binds the map to the active texture unit, filtered linearly and clamped to its edge.
    void bind() const;

private:
    std::unique_ptr<QGLFramebufferObject> m_texture;
    QString m_refusedFile;
};

} // namespace Quorvel
