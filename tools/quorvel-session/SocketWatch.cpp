#include "SocketWatch.h"

#include <sys/epoll.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

constexpr int EventsPerTurn = 256;

void control(int poll, int operation, int descriptor, SocketWatch::Owner *owner, bool output)
{
    epoll_event event = {};
    event.events = output ? EPOLLIN | EPOLLOUT : EPOLLIN;
    event.data.ptr = owner;
    epoll_ctl(poll, operation, descriptor, &event);
}

} // namespace

SocketWatch::SocketWatch(QObject *parent)
    : QObject(parent), m_poll(epoll_create1(EPOLL_CLOEXEC)), m_notifier(m_poll, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &SocketWatch::dispatch);
}

SocketWatch::~SocketWatch()
{
    m_notifier.setEnabled(false);
    close(m_poll);
}

void SocketWatch::add(int descriptor, Owner *owner)
{
    control(m_poll, EPOLL_CTL_ADD, descriptor, owner, false);
}

void SocketWatch::remove(int descriptor, const Owner *owner)
{
    control(m_poll, EPOLL_CTL_DEL, descriptor, nullptr, false);
    for (int i = 0; i < m_count; ++i) {
        if (m_events[i].data.ptr == owner)
            m_events[i].data.ptr = nullptr;
    }
}

void SocketWatch::watchOutput(int descriptor, Owner *owner, bool on)
{
    control(m_poll, EPOLL_CTL_MOD, descriptor, owner, on);
}

void SocketWatch::dispatch()
{
    epoll_event events[EventsPerTurn];
    m_events = events;
    m_count = epoll_wait(m_poll, events, EventsPerTurn, 0);
    for (int i = 0; i < m_count; ++i) {
        const auto owner = [&] { return static_cast<Owner *>(events[i].data.ptr); };
        if (owner() && (events[i].events & ~uint32_t(EPOLLOUT)) != 0)
            owner()->socketReadable();
        if (owner() && (events[i].events & EPOLLOUT) != 0)
            owner()->socketWritable();
    }
    m_count = 0;
    m_events = nullptr;
}

} // namespace Quorvel
