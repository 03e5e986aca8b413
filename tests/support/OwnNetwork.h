#pragma once

#include <QByteArray>

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Quorvel
{

/// Moves this process, and so its children, into a network that holds a loopback interface and nothing else,
/// where they may listen on port 80: the port that viewers connect to.
///
/// Make one at the start of main(): the process must not have a second thread yet. Needs no privileges where
/// the system lets anyone make user namespaces; elsewhere a free port 80 that the process may listen on will
/// do.
class OwnNetwork
{
public:
    OwnNetwork()
    {
        const uid_t user = getuid();
        const gid_t group = getgid();
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) {
            m_valid = write("/proc/self/setgroups", "deny") &&
                      write("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1") &&
                      write("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1") && raiseLoopback();
        } else {
            m_valid = canListenOnPort80();
        }
        if (!m_valid)
            m_errorString = std::strerror(errno);
    }

    bool isValid() const { return m_valid; }
    QByteArray errorString() const { return m_errorString; }

private:
    static bool write(const char *file, const QByteArray &text)
    {
        const int descriptor = open(file, O_WRONLY | O_CLOEXEC);
        const bool written = ::write(descriptor, text.constData(), size_t(text.size())) == text.size();
        const int error = errno;
        close(descriptor);
        errno = error;
        return written;
    }

    static bool raiseLoopback()
    {
        const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ifreq request = {};
        std::strcpy(request.ifr_name, "lo");
        request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
        const bool raised = ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
        const int error = errno;
        close(descriptor);
        errno = error;
        return raised;
    }

    static bool canListenOnPort80()
    {
        const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int reuse = 1;
        setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(80);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const bool bound = bind(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
                           listen(descriptor, 1) == 0;
        const int error = errno;
        close(descriptor);
        errno = error;
        return bound;
    }

    bool m_valid = false;
    QByteArray m_errorString;
};

} // namespace Quorvel
