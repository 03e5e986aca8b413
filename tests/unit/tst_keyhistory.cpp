#include "KeyHistory.h"

#include <QKeyEvent>
#include <QtTest>

using namespace Quorvel;
using Release = KeyHistory::Release;

Q_DECLARE_METATYPE(Quorvel::KeyHistory::Release)

namespace
{

QKeyEvent keyEvent(QEvent::Type type, int key, unsigned long time, bool isAutoRepeat)
{
    QKeyEvent event(type, key, Qt::NoModifier, QString(), isAutoRepeat);
    event.setTimestamp(time);
    return event;
}

/// Whether it is a repeat.
bool press(KeyHistory &keys, unsigned long time, int key = Qt::Key_F, bool isAutoRepeat = false)
{
    keys.announce(key);
    return keys.press(keyEvent(QEvent::KeyPress, key, time, isAutoRepeat));
}

Release release(KeyHistory &keys, unsigned long time, int key = Qt::Key_F, bool isAutoRepeat = false)
{
    return keys.release(keyEvent(QEvent::KeyRelease, key, time, isAutoRepeat));
}

} // namespace

class TestKeyHistory : public QObject
{
    Q_OBJECT

private slots:
    void tapsAreOwn_data();
    void tapsAreOwn();
    void flaggedRepeats();
    void repeatsWithoutTheFlag_data();
    void repeatsWithoutTheFlag();
    void otherKeyEndsTheRepeats();
    void shortcutsReleaseIsStray();
    void escapeAfterADialogIsStray();
};

void TestKeyHistory::tapsAreOwn_data()
{
    QTest::addColumn<int>("pause");
    QTest::newRow("slow") << 500;
    QTest::newRow("as fast as scripts tap") << 10;
    QTest::newRow("events without a time") << 0;
}

void TestKeyHistory::tapsAreOwn()
{
    QFETCH(int, pause);
    KeyHistory keys;
    unsigned long time = pause == 0 ? 0 : 1000;
    for (int i = 0; i < 5; ++i) {
        QVERIFY(!press(keys, time += pause));
        QCOMPARE(release(keys, time += pause), Release::Own);
    }
}

void TestKeyHistory::flaggedRepeats()
{
    KeyHistory keys;
    QVERIFY(!press(keys, 1000));
    for (unsigned long time = 1500; time < 1800; time += 30) {
        QCOMPARE(release(keys, time, Qt::Key_F, true), Release::Repeated);
        QVERIFY(press(keys, time, Qt::Key_F, true));
    }
    QCOMPARE(release(keys, 1810), Release::Own);
}

void TestKeyHistory::repeatsWithoutTheFlag_data()
{
    QTest::addColumn<int>("gap");
    QTest::newRow("at once") << 0;
    QTest::newRow("one later") << 1;
    QTest::newRow("five later") << 5;
}

void TestKeyHistory::repeatsWithoutTheFlag()
{
    QFETCH(int, gap);
    KeyHistory keys;
    QVERIFY(!press(keys, 1000));
    QCOMPARE(release(keys, 1500), Release::Own);
    for (unsigned long time = 1500; time < 1800; time += 30) {
        QVERIFY(press(keys, time + unsigned(gap)));
        QCOMPARE(release(keys, time + 30), Release::Repeated);
    }
    // Let go of and tapped again.
    QVERIFY(!press(keys, 2500));
    QCOMPARE(release(keys, 2600), Release::Own);
}

void TestKeyHistory::otherKeyEndsTheRepeats()
{
    KeyHistory keys;
    press(keys, 1000);
    release(keys, 1500);
    QVERIFY(press(keys, 1500));
    QVERIFY(!press(keys, 1510, Qt::Key_G));
    QCOMPARE(release(keys, 1600, Qt::Key_G), Release::Own);
}

void TestKeyHistory::shortcutsReleaseIsStray()
{
    KeyHistory keys;
    keys.announce(Qt::Key_F);
    QCOMPARE(release(keys, 1000), Release::Stray);
    QVERIFY(!press(keys, 2000));
    QCOMPARE(release(keys, 2100), Release::Own);
}

void TestKeyHistory::escapeAfterADialogIsStray()
{
    KeyHistory keys;
    keys.dialogEnded();
    QCOMPARE(release(keys, 1000), Release::Own);
    QCOMPARE(release(keys, 1010, Qt::Key_Escape), Release::Stray);
    keys.dialogEnded();
    press(keys, 2000, Qt::Key_Escape);
    QCOMPARE(release(keys, 2100, Qt::Key_Escape), Release::Own);
}

QTEST_APPLESS_MAIN(TestKeyHistory)

#include "tst_keyhistory.moc"
