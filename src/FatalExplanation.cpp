#include "FatalExplanation.h"

#include <QtGlobal>

#include <cstdio>

namespace Quorvel
{

namespace
{

thread_local QString t_explanation;

/// What the toolkit says at every start without a display, and nobody needs to know.
bool isChatter(const QString &message)
{
    return message.startsWith(QLatin1String("eglconvenience: Could not query screen info")) ||
           message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")) ||
           message.startsWith(QLatin1String("Running on a software rasterizer"));
}

void writeDiagnostic(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && isChatter(message))
        return;
    QByteArray line = qFormatLogMessage(type, context, message).toLocal8Bit() + '\n';
    if (type == QtFatalMsg && !t_explanation.isEmpty())
        line += t_explanation.toLocal8Bit() + '\n';
    fwrite(line.constData(), 1, size_t(line.size()), stderr);
    fflush(stderr);
}

} // namespace

void installDiagnostics()
{
    qInstallMessageHandler(writeDiagnostic);
}

void explainFatal(const QString &sentence)
{
    t_explanation = sentence;
}

FatalExplanation::FatalExplanation(const QString &sentence) : m_previous(t_explanation)
{
    t_explanation = sentence;
}

FatalExplanation::~FatalExplanation()
{
    t_explanation = m_previous;
}

} // namespace Quorvel
