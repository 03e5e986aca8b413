#pragma once

#include "Gles2.h"

#include <QStringList>

namespace Quorvel::Test
{

/// Listens to the current context's KHR_debug messages for a scope. One at a time.
///
/// Messages arrive within the call that causes them, so each stands in the debug group that was open then.
class GlDebugLog
{
public:
    GlDebugLog();
    ~GlDebugLog();
    GlDebugLog(const GlDebugLog &) = delete;
    GlDebugLog &operator=(const GlDebugLog &) = delete;

    /// Whether the context can report at all.
    bool isListening() const { return m_setCallback; }

    /// Names of the debug groups, in the order of their beginnings.
    const QStringList &groups() const { return m_groups; }
    /// Messages of type error or undefined behaviour, each after its group's name.
    const QStringList &faults() const { return m_faults; }
    /// Groups begun and not ended.
    int depth() const { return m_open.size(); }

private:
    using Callback = void(QOPENGLF_APIENTRYP)(GLenum source, GLenum type, GLuint id, GLenum severity,
                                              GLsizei length, const char *message, const void *log);

    static void QOPENGLF_APIENTRY receive(GLenum source, GLenum type, GLuint id, GLenum severity,
                                          GLsizei length, const char *message, const void *log);

    void(QOPENGLF_APIENTRYP m_setCallback)(Callback callback, const void *log) = nullptr;
    QStringList m_groups;
    QStringList m_open;
    QStringList m_faults;
};

} // namespace Quorvel::Test
