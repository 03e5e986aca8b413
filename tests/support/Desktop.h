#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QProcess>
#include <QStringList>

/// The virtual screen as a person has it before them: pointer, keys, and what is to be seen.
namespace Quorvel::Desktop
{

/// What a tool of the X Window System prints about the screen.
inline QByteArray ask(const QString &tool, const QStringList &arguments)
{
    QProcess process;
    process.start(tool, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        qWarning("%s: %s", qPrintable(tool), qPrintable(process.errorString()));
    return process.readAllStandardOutput();
}

inline void point(const QStringList &arguments)
{
    ask(QStringLiteral("xdotool"), arguments);
}

inline void key(const QString &name)
{
    point({QStringLiteral("key"), name});
}

inline QImage screenshot()
{
    return QImage::fromData(
        ask(QStringLiteral("import"), {QStringLiteral("-silent"), QStringLiteral("-window"),
                                       QStringLiteral("root"), QStringLiteral("png:-")}));
}

inline bool isNear(const QColor &actual, const QColor &expected)
{
    return qAbs(actual.red() - expected.red()) <= 2 && qAbs(actual.green() - expected.green()) <= 2 &&
           qAbs(actual.blue() - expected.blue()) <= 2;
}

} // namespace Quorvel::Desktop
