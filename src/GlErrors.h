#pragma once

namespace Quorvel
{

/// Forgets all pending GL errors, so that the next look concerns what is done in between. Needs a current
/// context.
void drainGlErrors();

/// Takes one GL error and, if there is one, logs it with the place that asks. Needs a current context.
void logGlError(const char *file, int line);

} // namespace Quorvel
