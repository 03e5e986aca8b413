#include "FatalExplanation.h"

#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace Quorvel
{

namespace
{

thread_local QString t_explanation;
thread_local const FatalExit *t_exit = nullptr;

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
    if (type == QtFatalMsg && t_exit)
        t_exit->end();
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

FatalExit::FatalExit(const QString &sentence, int status) : m_sentence(sentence), m_status(status)
{
    t_exit = this;
}

FatalExit::~FatalExit()
{
    t_exit = nullptr;
}

void FatalExit::end() const
{
    fprintf(stderr, "%s\n", m_sentence.toLocal8Bit().constData());
    fflush(stderr);
    std::_Exit(m_status);
}

} // namespace Quorvel
