#pragma once

/// The GL entry points and enums of the whole project: OpenGL ES 2.0 as libGLESv2 exports it.
///
/// The toolkit's header comes first because in a desktop build of the toolkit it brings GL/gl.h with its own
/// type definitions; gl2.h on top of it declares the ES 2.0 functions with the same types, so both may stand
/// in one translation unit. The dispatch library routes each call to whichever context is current, ES or
/// desktop.
///
/// Desktop-only enums are visible through GL/gl.h as well: GL_TEXTURE_2D and GL_TEXTURE_CUBE_MAP given to
/// glEnable are errors on ES, so such calls stand behind a test of the context's kind.

#include <QtGui/qopengl.h>

#include <GLES2/gl2.h>
