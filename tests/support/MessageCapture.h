#pragma once

#include <QStringList>
#include <QtGlobal>

namespace Quorvel
{

/// Collects every diagnostic line in its scope instead of printing it. One at a time, on one thread.
class MessageCapture
{
public:
    MessageCapture()
    {
        lines().clear();
        m_previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { lines().append(text); });
    }
    ~MessageCapture() { qInstallMessageHandler(m_previous); }
    MessageCapture(const MessageCapture &) = delete;
    MessageCapture &operator=(const MessageCapture &) = delete;

    static QStringList &lines()
    {
        static QStringList collected;
        return collected;
    }

private:
    QtMessageHandler m_previous;
};

} // namespace Quorvel
