#pragma once

#include "Gles2.h"

#include <QString>

namespace Quorvel
{

struct GlObjectCount
{
    int textures = 0;
    int buffers = 0;
    int framebuffers = 0;
    int renderbuffers = 0;
    int programs = 0;
    int shaders = 0;

    /// Names beyond this are not looked at. Some drivers count on and never give a name twice.
    static constexpr GLuint mostNames = 32768;

    GlObjectCount()
    {
        for (GLuint name = 1; name <= mostNames; ++name) {
            textures += glIsTexture(name);
            buffers += glIsBuffer(name);
            framebuffers += glIsFramebuffer(name);
            renderbuffers += glIsRenderbuffer(name);
            programs += glIsProgram(name);
            shaders += glIsShader(name);
        }
    }

    QString text() const
    {
        return QStringLiteral(
                   "%1 textures, %2 buffers, %3 framebuffers, %4 renderbuffers, %5 programs, %6 shaders")
            .arg(textures)
            .arg(buffers)
            .arg(framebuffers)
            .arg(renderbuffers)
            .arg(programs)
            .arg(shaders);
    }
};

} // namespace Quorvel
