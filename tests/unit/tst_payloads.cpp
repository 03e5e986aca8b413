#include "CameraPayload.h"
#include "NetworkMessage.h"
#include "RecordRoundTrip.h"
#include "RecordSamples.h"
#include "ScenePayload.h"

#include <QtTest>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Quorvel;

class PayloadsTest : public QObject
{
    Q_OBJECT

private slots:
    void cameraIsSixteenDoublesRowByRow();
    void cameraReadsBack();
    void damagedCameras_data();
    void damagedCameras();

    void text();
    void damagedTexts();

    void sceneReadsBack();
    void sceneIsQCompressOfTheRecord();
    void damagedScenes_data();
    void damagedScenes();
    void bombsTakeNoMemory();
};

/// The rows of the matrix (1 2 3 4 / 5 6 7 8 / 9 10 11 12 / 13 14 15 0.5) as IEEE doubles, by hand.
static const QByteArray cameraBytes =
    QByteArray::fromHex("3ff0000000000000 4000000000000000 4008000000000000 4010000000000000"
                        "4014000000000000 4018000000000000 401c000000000000 4020000000000000"
                        "4022000000000000 4024000000000000 4026000000000000 4028000000000000"
                        "402a000000000000 402c000000000000 402e000000000000 3fe0000000000000");

static const QMatrix4x4 camera(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0.5);

void PayloadsTest::cameraIsSixteenDoublesRowByRow()
{
    QCOMPARE(CameraPayload::encode(camera).toHex(' '), cameraBytes.toHex(' '));
}

void PayloadsTest::cameraReadsBack()
{
    QCOMPARE(CameraPayload::decode(cameraBytes).value(), camera);
    QCOMPARE(CameraPayload::decode(cameraBytes + "more").value(), camera);
}

void PayloadsTest::damagedCameras_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("nothing") << QByteArray();
    for (const int length : {1, 8, 127})
        QTest::newRow(qPrintable(QString::number(length))) << cameraBytes.left(length);
    const struct
    {
        const char *name;
        const char *bytes;
    } numbers[] = {{"infinite", "7ff0000000000000"},
                   {"minus infinite", "fff0000000000000"},
                   {"no number", "7ff8000000000000"},
                   {"too large for a float", "7fe0000000000000"}};
    for (const auto &number : numbers) {
        for (const int at : {0, 7, 15}) {
            QTest::newRow(qPrintable(QStringLiteral("%1 at %2").arg(QLatin1String(number.name)).arg(at)))
                << QByteArray(cameraBytes).replace(8 * at, 8, QByteArray::fromHex(number.bytes));
        }
    }
}

void PayloadsTest::damagedCameras()
{
    QFETCH(QByteArray, data);
    QVERIFY(!CameraPayload::decode(data));
}

void PayloadsTest::text()
{
    const QByteArray bytes = QByteArray::fromHex("0000000a 0031 0031 0031 0031 0031");
    QCOMPARE(toTextPayload(QStringLiteral("11111")).toHex(' '), bytes.toHex(' '));
    QCOMPARE(fromTextPayload(bytes), QStringLiteral("11111"));
}

void PayloadsTest::damagedTexts()
{
    for (const char *const bytes :
         {"", "00", "ffffffff", "00000000", "0000000a0031", "fffffffe0031", "000000030031"})
        QCOMPARE(fromTextPayload(QByteArray::fromHex(bytes)), QString());
}

void PayloadsTest::sceneReadsBack()
{
    const QByteArray record = completeRecord(QStringLiteral("n1")).bytes();
    Scene scene;
    load(&scene, record);
    QCOMPARE(ScenePayload::record(scene), record);
    QString fault;
    QCOMPARE(ScenePayload::decode(ScenePayload::encode(record), &fault).value(), record);
}

void PayloadsTest::sceneIsQCompressOfTheRecord()
{
    const QByteArray record = completeRecord().bytes();
    QCOMPARE(ScenePayload::encode(record), qCompress(record));
    QCOMPARE(qUncompress(ScenePayload::encode(record)), record);
}

void PayloadsTest::damagedScenes_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<QString>("expected");
    const QByteArray record = completeRecord(QStringLiteral("n1")).bytes();
    const QByteArray payload = qCompress(record);
    const auto announcing = [&payload](const char *size) {
        return QByteArray(payload).replace(0, 4, QByteArray::fromHex(size));
    };
    const QString damaged = QStringLiteral("the compressed scene is damaged");
    QTest::newRow("nothing") << QByteArray() << QStringLiteral("0 bytes are too few for a compressed scene");
    QTest::newRow("only a size") << QByteArray(4, '\0')
                                 << QStringLiteral("4 bytes are too few for a compressed scene");
    QTest::newRow("cut short") << payload.left(payload.size() - 8) << damaged;
    QTest::newRow("no stream") << QByteArray::fromHex("00000010 00112233 44556677") << damaged;
    QTest::newRow("less announced") << announcing("00000010") << damaged;
    QTest::newRow("more announced") << announcing("00001000") << damaged;
    QTest::newRow("nothing announced") << announcing("00000000") << damaged;
    QTest::newRow("more than the most")
        << announcing("10000001")
        << QStringLiteral("a scene of 268435457 bytes is announced, 268435456 are the most that is accepted");
    QTest::newRow("all that can be announced")
        << announcing("ffffffff")
        << QStringLiteral(
               "a scene of 4294967295 bytes is announced, 268435456 are the most that is accepted");
    QTest::newRow("more than so few bytes can hold")
        << announcing("10000000")
        << QStringLiteral("268435456 bytes of scene are announced, more than %1 compressed bytes can hold")
               .arg(payload.size() - 4);
    QTest::newRow("damaged record") << qCompress(record.left(100)) << QString();
    QTest::newRow("light that aims at nothing")
        << qCompress(completeRecord().bytes())
        << QStringLiteral("record, before byte %1: a light aims at a node that does not exist")
               .arg(completeRecord().bytes().size());
}

void PayloadsTest::damagedScenes()
{
    QFETCH(QByteArray, payload);
    QFETCH(QString, expected);
    QString fault;
    QVERIFY(!ScenePayload::decode(payload, &fault));
    QVERIFY(!fault.isEmpty());
    if (!expected.isEmpty())
        QCOMPARE(fault, expected);
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

static rlim_t addressSpaceInUse()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').first().toULongLong() * rlim_t(sysconf(_SC_PAGESIZE));
}

void PayloadsTest::bombsTakeNoMemory()
{
    // 200 MiB of zeros that announce themselves as one byte.
    QByteArray bomb = qCompress(QByteArray(200 << 20, '\0'));
    bomb.replace(0, 4, QByteArray::fromHex("00000001"));
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCoreFile{0, 0};
        setrlimit(RLIMIT_CORE, &noCoreFile);
        // A ceiling for what may be reserved from here on; there is no way to lower it under the sanitizers.
        const rlimit most{addressSpaceInUse() + (rlim_t(32) << 20), RLIM_INFINITY};
        if (!sanitized)
            setrlimit(RLIMIT_AS, &most);
        QString fault;
        _exit(ScenePayload::decode(bomb, &fault) ? 1 : 0);
    }
    QVERIFY(child > 0);
    int status = -1;
    QCOMPARE(waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
}

QTEST_GUILESS_MAIN(PayloadsTest)
#include "tst_payloads.moc"
