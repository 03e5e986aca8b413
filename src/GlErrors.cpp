#include "GlErrors.h"

#include "Gles2.h"

#include <QtDebug>

namespace Quorvel
{

void drainGlErrors()
{
    // There is one flag per kind of error; a context that is lost gives errors without end.
    constexpr int mostErrors = 32;
    for (int i = 0; i < mostErrors && glGetError() != GL_NO_ERROR; ++i) {
    }
}

void logGlError(const char *file, int line)
{
    const GLenum code = glGetError();
    if (code != GL_NO_ERROR)
        qDebug("[%s line %d] GL Error: %d", file, line, int(code));
}

} // namespace Quorvel
