// Puts quorvel-session under the load of many viewers on loopback and reports what it did with it:
//
//   session-load PROGRAM [--participants N] [--per-session N] [--rate HZ] [--seconds S]
//
// Every participant sends camera moves at the same rate, evenly spread over time; each move holds the time at
// which it was sent. The delay is from that moment until another participant has read the move, so it
// includes what this program needs for itself on the same machine.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace
{

constexpr int FirstSession = 11111;
/// Moves are looked for this often, in nanoseconds: to wake up for each would cost more than the relay does.
constexpr int64_t LongestPause = 200000;
constexpr int MoveDataSize = 128;
constexpr int MoveFrameSize = 4 + 1 + 4 + 4 + 4 + MoveDataSize;
constexpr int MoveDataStart = MoveFrameSize - MoveDataSize;

struct Load
{
    const char *program = nullptr;
    int participants = 200;
    int perSession = 10;
    int rate = 60;
    int seconds = 60;
};

struct Participant
{
    int descriptor = -1;
    int session = 0;
    uint32_t sent = 0;
    int64_t nextMove = 0;
    std::vector<char> input;
    uint64_t received = 0;
};

struct Relay
{
    pid_t process = -1;
    FILE *events = nullptr;
    uint16_t port = 0;
};

[[noreturn]] void fail(const std::string &what)
{
    fprintf(stderr, "session-load: %s\n", what.c_str());
    exit(1);
}

int64_t now()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return int64_t(time.tv_sec) * 1000000000 + time.tv_nsec;
}

void appendNumber(std::string *bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes->push_back(char(value >> shift));
}

uint32_t numberAt(const char *bytes)
{
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | uint8_t(bytes[i]);
    return value;
}

/// A byte-counted UTF-16 text of ASCII characters.
std::string text(const std::string &ascii)
{
    std::string bytes;
    appendNumber(&bytes, uint32_t(2 * ascii.size()));
    for (const char character : ascii)
        bytes += std::string({'\0', character});
    return bytes;
}

std::string frame(int kind, const std::string &clientId, const std::string &data)
{
    std::string fields(1, char(kind));
    fields += clientId + text("");
    appendNumber(&fields, uint32_t(data.size()));
    fields += data;
    std::string bytes;
    appendNumber(&bytes, uint32_t(fields.size()));
    return bytes + fields;
}

Relay startRelay(const Load &load)
{
    int ends[2];
    if (pipe(ends) != 0)
        fail("no pipe");
    Relay relay;
    relay.process = fork();
    if (relay.process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        const std::string clients = std::to_string(load.participants + 1);
        execl(load.program, load.program, "--listen", "127.0.0.1:0", "--max-clients", clients.c_str(),
              static_cast<char *>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    relay.events = fdopen(ends[0], "r");
    unsigned port = 0;
    if (fscanf(relay.events, "listen address=127.0.0.1:%u", &port) != 1)
        fail("the relay does not start");
    relay.port = uint16_t(port);
    fcntl(ends[0], F_SETPIPE_SZ, 1 << 20);
    return relay;
}

void sendAll(int descriptor, const std::string &bytes)
{
    if (send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) != ssize_t(bytes.size()))
        fail("a participant cannot send");
}

std::string receiveFrame(int descriptor)
{
    std::string bytes(4, '\0');
    if (recv(descriptor, &bytes[0], 4, MSG_WAITALL) != 4)
        fail("a participant is not let in");
    const uint32_t size = numberAt(bytes.data());
    bytes.resize(4 + size);
    if (recv(descriptor, &bytes[4], size, MSG_WAITALL) != ssize_t(size))
        fail("a frame does not end");
    return bytes;
}

int connectTo(uint16_t port)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        fail("cannot connect");
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return descriptor;
}

/// Lets one participant after the other into its session; all who are in answer yes.
std::vector<Participant> joinAll(const Load &load, uint16_t port)
{
    std::vector<Participant> participants(size_t(load.participants));
    for (int i = 0; i < load.participants; ++i) {
        Participant &participant = participants[size_t(i)];
        participant.session = FirstSession + i / load.perSession;
        participant.descriptor = connectTo(port);
        sendAll(participant.descriptor, frame(3, text(""), text(std::to_string(participant.session))));
        for (int j = i - i % load.perSession; j < i; ++j) {
            const std::string question = receiveFrame(participants[size_t(j)].descriptor);
            const uint32_t idSize = numberAt(question.data() + 5);
            sendAll(participants[size_t(j)].descriptor, frame(4, question.substr(5, 4 + idSize), ""));
        }
        if (receiveFrame(participant.descriptor).at(4) != 1)
            fail("a participant is refused");
    }
    for (const Participant &participant : participants)
        fcntl(participant.descriptor, F_SETFL, O_NONBLOCK);
    return participants;
}

void sendMove(Participant *participant)
{
    static const std::string move = frame(2, text(""), std::string(MoveDataSize, '\0'));
    char bytes[MoveFrameSize];
    memcpy(bytes, move.data(), MoveFrameSize);
    const int64_t time = now();
    memcpy(bytes + MoveDataStart, &time, sizeof time);
    if (send(participant->descriptor, bytes, sizeof bytes, MSG_NOSIGNAL) == MoveFrameSize)
        ++participant->sent;
    else
        fail("the relay does not take a move in time");
}

void receiveMoves(Participant *participant, std::vector<uint32_t> *delays)
{
    static char buffer[1 << 20];
    for (;;) {
        const ssize_t size = recv(participant->descriptor, buffer, sizeof buffer, 0);
        if (size == 0)
            fail("the relay has dropped a participant");
        if (size < 0)
            return;
        participant->input.insert(participant->input.end(), buffer, buffer + size);
        const int64_t time = now();
        size_t position = 0;
        for (; participant->input.size() - position >= MoveFrameSize; position += MoveFrameSize) {
            int64_t sent = 0;
            memcpy(&sent, participant->input.data() + position + MoveDataStart, sizeof sent);
            // In units of 100 ns; one of 8 is kept.
            if (participant->received++ % 8 == 0)
                delays->push_back(uint32_t((time - sent) / 100));
        }
        participant->input.erase(participant->input.begin(), participant->input.begin() + long(position));
    }
}

std::vector<uint32_t> run(const Load &load, std::vector<Participant> *participants)
{
    const int poll = epoll_create1(0);
    for (Participant &participant : *participants) {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.ptr = &participant;
        epoll_ctl(poll, EPOLL_CTL_ADD, participant.descriptor, &event);
    }
    const int64_t interval = 1000000000 / load.rate;
    const int64_t start = now() + 100000000;
    for (size_t i = 0; i < participants->size(); ++i)
        (*participants)[i].nextMove =
            start + interval * int64_t(i * 7919 % participants->size()) / int64_t(participants->size());
    std::vector<uint32_t> delays;
    const int64_t end = start + int64_t(load.seconds) * 1000000000;
    const int64_t drained = end + 2000000000;
    for (int64_t time = now(); time < drained; time = now()) {
        int64_t next = drained;
        for (Participant &participant : *participants) {
            if (participant.nextMove <= time && participant.nextMove < end) {
                sendMove(&participant);
                participant.nextMove += interval;
            }
            if (participant.nextMove < end)
                next = std::min(next, participant.nextMove);
        }
        epoll_event events[256];
        const int64_t left = std::clamp<int64_t>(next - now(), 0, LongestPause);
        const timespec pause = {0, long(left)};
        nanosleep(&pause, nullptr);
        const int count = epoll_wait(poll, events, 256, 0);
        for (int i = 0; i < count; ++i)
            receiveMoves(static_cast<Participant *>(events[i].data.ptr), &delays);
    }
    close(poll);
    return delays;
}

long memoryOf(pid_t process, const char *key)
{
    const std::string path = "/proc/" + std::to_string(process) + "/status";
    FILE *file = fopen(path.c_str(), "r");
    char line[256];
    long value = -1;
    while (file && fgets(line, sizeof line, file)) {
        if (strncmp(line, key, strlen(key)) == 0)
            value = atol(line + strlen(key) + 1);
    }
    if (file)
        fclose(file);
    return value;
}

/// Ends the relay; what it says about each participant it has let go holds how many moves were superseded.
uint64_t stopRelay(Relay *relay, rusage *usage)
{
    kill(relay->process, SIGTERM);
    uint64_t superseded = 0;
    char line[1024];
    while (fgets(line, sizeof line, relay->events)) {
        if (const char *value = strstr(line, " superseded="))
            superseded += strtoull(value + strlen(" superseded="), nullptr, 10);
        if (strncmp(line, "events-lost", strlen("events-lost")) == 0)
            fail("events were lost");
    }
    int status = 0;
    wait4(relay->process, &status, 0, usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail("the relay did not end well");
    return superseded;
}

void report(const Load &load, const std::vector<Participant> &participants, std::vector<uint32_t> *delays,
            uint64_t superseded, double cpuSeconds)
{
    uint64_t sent = 0;
    uint64_t expected = 0;
    uint64_t received = 0;
    for (const Participant &participant : participants) {
        sent += participant.sent;
        received += participant.received;
    }
    for (const Participant &participant : participants) {
        for (const Participant &other : participants) {
            if (&other != &participant && other.session == participant.session)
                expected += other.sent;
        }
    }
    std::sort(delays->begin(), delays->end());
    const auto delay = [delays](double share) {
        return delays->empty() ? 0.0 : (*delays)[size_t(share * double(delays->size() - 1))] / 10000.0;
    };
    printf("participants     %d in sessions of %d, %d moves/s each, %d s\n", load.participants,
           load.perSession, load.rate, load.seconds);
    printf("moves in         %llu (%.0f/s)\n", static_cast<unsigned long long>(sent),
           double(sent) / load.seconds);
    printf("moves out        %llu (%.0f/s)\n", static_cast<unsigned long long>(received),
           double(received) / load.seconds);
    printf("superseded       %llu (%.2f %%)\n", static_cast<unsigned long long>(superseded),
           100.0 * double(superseded) / double(std::max<uint64_t>(1, expected)));
    printf("lost             %lld\n", static_cast<long long>(expected - superseded - received));
    printf("delay            median %.3f ms, 99 %% %.3f ms, longest %.3f ms\n", delay(0.5), delay(0.99),
           delay(1.0));
    printf("processor        %.0f %% of one core\n", 100.0 * cpuSeconds / load.seconds);
}

Load parse(int argc, char **argv)
{
    Load load;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&] { return i + 1 < argc ? atoi(argv[++i]) : 0; };
        if (word == "--participants")
            load.participants = value();
        else if (word == "--per-session")
            load.perSession = value();
        else if (word == "--rate")
            load.rate = value();
        else if (word == "--seconds")
            load.seconds = value();
        else
            load.program = argv[i];
    }
    if (!load.program || load.participants < 1 || load.perSession < 1 || load.rate < 1 || load.seconds < 1)
        fail("usage: session-load PROGRAM [--participants N] [--per-session N] [--rate HZ] [--seconds S]");
    return load;
}

double cpuSeconds(const rusage &usage)
{
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    const Load load = parse(argc, argv);
    Relay relay = startRelay(load);
    std::vector<Participant> participants = joinAll(load, relay.port);
    std::vector<uint32_t> delays = run(load, &participants);
    const long memory = memoryOf(relay.process, "VmHWM:");
    rusage usage = {};
    for (const Participant &participant : participants)
        shutdown(participant.descriptor, SHUT_WR);
    const uint64_t superseded = stopRelay(&relay, &usage);
    report(load, participants, &delays, superseded, cpuSeconds(usage));
    printf("memory           %ld KiB at most\n", memory);
    return 0;
}
