#pragma once

#include "FrontFace.h"
#include "Gles2.h"

namespace Quorvel
{

/// Switches a capability on for a scope and off after it, whatever it was before.
class CapabilityScope
{
public:
    explicit CapabilityScope(GLenum capability);
    ~CapabilityScope();
    CapabilityScope(const CapabilityScope &) = delete;
    CapabilityScope &operator=(const CapabilityScope &) = delete;

private:
    GLenum m_capability;
};

/// Enables 2D and cube-map texturing of the active unit for a scope, if wanted at all. Only a desktop context
/// knows such switches; an ES context is left alone.
class TexturingScope
{
public:
    explicit TexturingScope(bool on);
    ~TexturingScope();
    TexturingScope(const TexturingScope &) = delete;
    TexturingScope &operator=(const TexturingScope &) = delete;

private:
    bool m_on;
};

/// Blends over what is drawn already, by the source's alpha, and leaves depths as they are, for a scope.
class TransparencyScope
{
public:
    TransparencyScope();
    ~TransparencyScope();
    TransparencyScope(const TransparencyScope &) = delete;
    TransparencyScope &operator=(const TransparencyScope &) = delete;
};

/// Culls back faces for a scope, if wanted at all. Starts with the scene's front face.
class CullingScope
{
public:
    CullingScope(bool on, FrontFace ofScene);
    ~CullingScope();
    CullingScope(const CullingScope &) = delete;
    CullingScope &operator=(const CullingScope &) = delete;

    /// Sets the front face of the node that is drawn next.
    void enterNode(const QMatrix4x4 &worldTransform);

private:
    bool m_on;
    FrontFace m_ofScene;
    FrontFace m_current;
};

/// Names the GL calls of a scope for a graphics debugger. Does nothing in a context without KHR_debug.
class DebugGroup
{
public:
    /// The context's entry points, looked up once; null where it has none.
    class EntryPoints
    {
    public:
        /// Needs the context current.
        EntryPoints();

    private:
        friend class DebugGroup;
        void(QOPENGLF_APIENTRYP m_push)(GLenum source, GLuint id, GLsizei length,
                                        const char *message) = nullptr;
        void(QOPENGLF_APIENTRYP m_pop)() = nullptr;
    };

    DebugGroup(const EntryPoints &entryPoints, const char *name);
    ~DebugGroup();
    DebugGroup(const DebugGroup &) = delete;
    DebugGroup &operator=(const DebugGroup &) = delete;

private:
    const EntryPoints &m_entryPoints;
};

} // namespace Quorvel
