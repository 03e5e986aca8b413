#pragma once

#include <QObject>
#include <QSocketNotifier>

struct epoll_event;

namespace Quorvel
{

/// Tells the owners of many sockets when there is something to read or room to write. A turn costs what the
/// busy sockets cost; the event loop's own notifiers look at every socket in every turn.
class SocketWatch : public QObject
{
public:
    class Owner
    {
    public:
        /// Also when the connection has ended.
        virtual void socketReadable() = 0;
        virtual void socketWritable() = 0;

    protected:
        ~Owner() = default;
    };

    explicit SocketWatch(QObject *parent = nullptr);
    ~SocketWatch() override;

    /// Watches for input. The owner must take the socket out before it goes, and may do so at any time.
    void add(int descriptor, Owner *owner);
    void remove(int descriptor, const Owner *owner);
    void watchOutput(int descriptor, Owner *owner, bool on);

private:
    void dispatch();

    const int m_poll;
    QSocketNotifier m_notifier;
    /// What is being dispatched; owners that go meanwhile are struck out.
    epoll_event *m_events = nullptr;
    int m_count = 0;
};

} // namespace Quorvel
