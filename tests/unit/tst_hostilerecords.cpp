#include "Emulation.h"
#include "FatalExplanation.h"
#include "Frustum.h"
#include "RecordSamples.h"
#include "SceneAssembly.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QTemporaryFile>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Quorvel;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
/// An allocation that a small record cannot need ends the child with a report.
extern "C" const char *__asan_default_options()
{
    return "max_allocation_size_mb=256:allocator_may_return_null=0:handle_abort=0";
}
#else
constexpr bool sanitized = false;
#endif

namespace
{

struct Case
{
    QString name;
    QByteArray record;
};

/// What parent and child share: how far the child has come.
struct Progress
{
    volatile int started;
    volatile int completed;
};

struct Tally
{
    int completed = 0;
    int fatal = 0;
};

} // namespace

/// Loads damaged records in child processes. A load may complete or stop on an assertion, nothing else: no
/// other signal, no endless loop, no memory beyond what a record of this size can need, no report of a
/// sanitizer.
class HostileRecordsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void intactRecordLoads();
    void truncated();
    void flippedBits();
    void hostileCounts();
    void hostileIndices();
    void foreignBytes();
    void theJudgeSeesAWrongEnd();

private:
    using Body = void (*)(const QByteArray &);
    static void loadAndUse(const QByteArray &record);
    bool run(const QVector<Case> &cases, Tally *tally, Body body = &HostileRecordsTest::loadAndUse);
    int runUntilEnd(const QVector<Case> &cases, int first, Body body);
    [[noreturn]] void childMain(const QVector<Case> &cases, int first, Body body) noexcept;
    QByteArray outputOfTheLastCase();

    QTemporaryFile m_output;
    Progress *m_progress = nullptr;
    QString m_failure;
};

/// A load that completes leaves a scene that can be culled, printed and written again.
void HostileRecordsTest::loadAndUse(const QByteArray &record)
{
    Scene scene;
    {
        QDataStream stream(record);
        scene.load(stream);
    }
    Frustum frustum;
    frustum.update(scene.activeCameraNode()->worldTransform(), QMatrix4x4(), scene.nodes());
    scene.dump();
    QByteArray again;
    QDataStream stream(&again, QIODevice::WriteOnly);
    scene.save(stream);
}

void HostileRecordsTest::initTestCase()
{
    QVERIFY(m_output.open());
    void *const shared =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    QVERIFY(shared != MAP_FAILED);
    m_progress = static_cast<Progress *>(shared);
}

void HostileRecordsTest::cleanupTestCase()
{
    munmap(m_progress, sizeof(Progress));
}

static rlim_t addressSpaceInUse()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').first().toULongLong() * rlim_t(sysconf(_SC_PAGESIZE));
}

/// Runs cases one after the other until one ends the process.
void HostileRecordsTest::childMain(const QVector<Case> &cases, int first, Body body) noexcept
{
    for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGPROF, SIGALRM, SIGTERM}) {
        // The address sanitizer reports these faults itself.
        if (!sanitized || (number != SIGSEGV && number != SIGBUS && number != SIGFPE && number != SIGILL))
            std::signal(number, SIG_DFL);
    }
    const rlimit noCoreFile{0, 0};
    setrlimit(RLIMIT_CORE, &noCoreFile);
    if (!sanitized) {
        const rlim_t limit = addressSpaceInUse() + (rlim_t(256) << 20);
        const rlimit addressSpace{limit, limit};
        setrlimit(RLIMIT_AS, &addressSpace);
    }
    dup2(m_output.handle(), STDERR_FILENO);
    installDiagnostics();
    for (int i = first; i < cases.size(); ++i) {
        if (ftruncate(STDERR_FILENO, 0) != 0 || lseek(STDERR_FILENO, 0, SEEK_SET) != 0)
            _exit(3);
        const itimerval fiveSeconds{{0, 0}, {5, 0}};
        setitimer(ITIMER_PROF, &fiveSeconds, nullptr);
        alarm(30);
        m_progress->started = i;
        body(cases[i].record);
        m_progress->completed = i;
    }
    _exit(0);
}

/// Returns the number of the case that ended the child, or the number of cases; leaves m_failure when that
/// end was none that a load may come to.
int HostileRecordsTest::runUntilEnd(const QVector<Case> &cases, int first, Body body)
{
    m_progress->started = first;
    m_progress->completed = first - 1;
    const pid_t child = fork();
    if (child == 0)
        childMain(cases, first, body);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        m_failure = QStringLiteral("no child process");
        return first;
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return cases.size();

    const int ended = m_progress->started;
    const QByteArray output = outputOfTheLastCase();
    const bool aborted = WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
    const bool asserted = output.contains("ASSERT");
    const bool reported = output.contains("Sanitizer") || output.contains("runtime error:");
    if (!aborted || !asserted || reported) {
        m_failure = QStringLiteral("%1: %2 %3\n%4")
                        .arg(cases[ended].name,
                             WIFSIGNALED(status) ? QStringLiteral("signal") : QStringLiteral("exit"))
                        .arg(WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status))
                        .arg(QString::fromLocal8Bit(output));
    }
    return ended;
}

QByteArray HostileRecordsTest::outputOfTheLastCase()
{
    m_output.seek(0);
    return m_output.readAll();
}

bool HostileRecordsTest::run(const QVector<Case> &cases, Tally *tally, Body body)
{
    m_failure.clear();
    int next = 0;
    while (next < cases.size()) {
        const int ended = runUntilEnd(cases, next, body);
        if (!m_failure.isEmpty())
            return false;
        tally->completed += ended - next;
        tally->fatal += ended < cases.size() ? 1 : 0;
        next = ended + 1;
    }
    return true;
}

void HostileRecordsTest::intactRecordLoads()
{
    Tally tally;
    QVERIFY2(run({{QStringLiteral("intact"), completeRecord().bytes()}}, &tally), qPrintable(m_failure));
    QCOMPARE(tally.completed, 1);
    QCOMPARE(tally.fatal, 0);
}

void HostileRecordsTest::truncated()
{
    const QByteArray record = completeRecord().bytes();
    QVector<Case> cases;
    for (int length = 0; length < record.size(); ++length)
        cases.append({QStringLiteral("first %1 bytes").arg(length), record.left(length)});
    Tally tally;
    QVERIFY2(run(cases, &tally), qPrintable(m_failure));
    QCOMPARE(tally.completed + tally.fatal, record.size());
    qInfo("%d records: %d completed, %d fatal", cases.size(), tally.completed, tally.fatal);
    // Without the camera node there is no active one; all that can be lost without harm stands after it.
    QVERIFY(tally.fatal > record.size() / 2);
}

void HostileRecordsTest::flippedBits()
{
    const QByteArray record = completeRecord().bytes();
    QVERIFY(record.size() <= 4096);
    QVector<Case> cases;
    for (int bit = 0; bit < record.size() * 8; ++bit) {
        QByteArray flipped = record;
        flipped[bit / 8] = char(flipped[bit / 8] ^ (0x80 >> bit % 8));
        cases.append({QStringLiteral("byte %1, bit %2").arg(bit / 8).arg(7 - bit % 8), flipped});
    }
    Tally tally;
    QVERIFY2(run(cases, &tally), qPrintable(m_failure));
    QCOMPARE(tally.completed + tally.fatal, cases.size());
    qInfo("%d records: %d completed, %d fatal", cases.size(), tally.completed, tally.fatal);
}

static QByteArray withWord(QByteArray record, int offset, quint32 value)
{
    RecordBytes word;
    word.uint32(value);
    return record.replace(offset, 4, word.bytes());
}

void HostileRecordsTest::hostileCounts()
{
    const RecordBytes record = completeRecord();
    QVERIFY(record.counts().size() > 30);
    QVector<Case> cases;
    for (const RecordBytes::Count &count : record.counts()) {
        const quint32 values[] = {0u,          1u,          count.value - 1, count.value + 1, 0x00ffffffu,
                                  0x10000000u, 0x7fffffffu, 0x80000000u,     0xfffffffeu,     0xffffffffu};
        for (const quint32 value : values) {
            cases.append({QStringLiteral("%1 at %2: %3").arg(count.name).arg(count.offset).arg(value, 0, 16),
                          withWord(record.bytes(), count.offset, value)});
        }
    }
    Tally tally;
    QVERIFY2(run(cases, &tally), qPrintable(m_failure));
    QCOMPARE(tally.completed + tally.fatal, cases.size());
    qInfo("%d records: %d completed, %d fatal", cases.size(), tally.completed, tally.fatal);
}

void HostileRecordsTest::hostileIndices()
{
    // Every aligned and unaligned word of the node section: parents, kinds, indices and whatever lies
    // between.
    const RecordBytes record = completeRecord();
    const auto nodes = std::find_if(record.counts().begin(), record.counts().end(),
                                    [](const auto &count) { return count.name == QLatin1String("nodes"); });
    QVERIFY(nodes != record.counts().end());
    QVector<Case> cases;
    for (int offset = nodes->offset; offset + 4 <= record.bytes().size(); ++offset) {
        for (const quint32 value : {0u, 1u, 2u, 3u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
            cases.append({QStringLiteral("word at %1: %2").arg(offset).arg(value, 0, 16),
                          withWord(record.bytes(), offset, value)});
        }
    }
    Tally tally;
    QVERIFY2(run(cases, &tally), qPrintable(m_failure));
    QCOMPARE(tally.completed + tally.fatal, cases.size());
    qInfo("%d records: %d completed, %d fatal", cases.size(), tally.completed, tally.fatal);
}

void HostileRecordsTest::foreignBytes()
{
    QVector<Case> cases;
    for (int value = 0; value < 256; ++value)
        cases.append({QStringLiteral("only byte %1").arg(value), QByteArray(4096, char(value))});
    cases.append({QStringLiteral("text"), QByteArray("<?xml version=\"1.0\"?><COLLADA></COLLADA>")});
    const QByteArray record = completeRecord().bytes();
    for (int shift = 1; shift < 64; ++shift)
        cases.append({QStringLiteral("shifted by %1").arg(shift), record.mid(shift)});
    Tally tally;
    QVERIFY2(run(cases, &tally), qPrintable(m_failure));
    QCOMPARE(tally.completed + tally.fatal, cases.size());
    qInfo("%d records: %d completed, %d fatal", cases.size(), tally.completed, tally.fatal);
}

void HostileRecordsTest::theJudgeSeesAWrongEnd()
{
    const QVector<Case> one{{QStringLiteral("one"), {}}};
    Tally tally;
    QVERIFY(!run(one, &tally, [](const QByteArray &) { std::raise(SIGSEGV); }));
    QVERIFY(!run(one, &tally, [](const QByteArray &) { std::abort(); }));
    QVERIFY(!run(one, &tally, [](const QByteArray &) { _exit(1); }));
    // The emulator needs more room than the program in it, and keeps the limit to itself.
    QVERIFY(Test::emulated || !run(one, &tally, [](const QByteArray &) {
                // More than the address space or the sanitizer's largest allocation allows.
                QVector<char> tooMuch(512 << 20, 'x');
                qDebug("%d", tooMuch.size());
            }));
    QVERIFY(!run(one, &tally, [](const QByteArray &) {
        volatile bool unending = true;
        while (unending) {
        }
    }));
    QVERIFY2(m_failure.contains(QStringLiteral("signal %1").arg(SIGPROF)), qPrintable(m_failure));
    QVERIFY(run(one, &tally, [](const QByteArray &) { qFatal("ASSERT"); }));
    QCOMPARE(tally.fatal, 1);
}

QTEST_GUILESS_MAIN(HostileRecordsTest)
#include "tst_hostilerecords.moc"
