#include "OwnNetwork.h"
#include "RelayProcess.h"
#include "StillPicture.h"
#include "ViewerProcess.h"
#include "VirtualScreen.h"
#include "Wall.h"

#include <QCoreApplication>
#include <QSettings>
#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Desktop;

namespace
{

const QString room = QStringLiteral(QUORVEL_FIXTURES "/window/room.dae");
const QString hall = QStringLiteral(QUORVEL_FIXTURES "/window/hall.dae");

const QString startTitle = QStringLiteral("Quorvel");
const QString roomTitle = QStringLiteral("/room.dae - Quorvel");
const QString hallTitle = QStringLiteral("/hall.dae - Quorvel");
const QString joinTitle = QStringLiteral("Join shared session");
const QString questionTitle = QStringLiteral("Shared session");

const QString session = QStringLiteral("11111");

constexpr int patience = 30000; // milliseconds

template <typename Condition>
bool waitFor(Condition condition)
{
    return QTest::qWaitFor(condition, patience);
}

/// Whether two pictures are of one size and no channel of any pixel differs by more than 2 of 255.
bool isSame(const QImage &one, const QImage &other)
{
    if (one.size() != other.size() || one.isNull())
        return false;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            if (!isNear(one.pixelColor(x, y), other.pixelColor(x, y)))
                return false;
        }
    }
    return true;
}

/// A viewer and the person before it, whose name it is. What a person does waits until it shows, and says
/// whether it did.
class Person
{
public:
    explicit Person(const QString &name) : m_name(name) {}

    QString name() const { return m_name; }
    bool isRunning() { return m_viewer.process().state() == QProcess::Running; }
    bool quit()
    {
        key(QStringLiteral("q"));
        return m_viewer.exitCode() == 0;
    }

    QByteArray window(const QString &title) { return Viewer::window(title, m_viewer.process().processId()); }
    QByteArray window() { return window(m_title); }
    bool hasStarted()
    {
        return isActive(m_title) && waitFor([this] { return isSpinning(); });
    }
    /// Raises a window of this viewer, and gives it the keys.
    bool activate() { return isActive(m_title); }

    bool isSpinning()
    {
        const QImage before = picture();
        QTest::qWait(50);
        return !isSame(picture(), before);
    }
    /// The window without menu bar and status bar. Nothing may cover it.
    QImage picture()
    {
        constexpr int bars = 40;
        return screenshot().copy(Viewer::geometry(window()).adjusted(0, bars, 0, -bars));
    }
    Wall wall() { return Wall(picture()); }
    QSize size() { return Viewer::size(window()); }

    /// Places the viewport, out of full screen and at rest, where it covers that half of the screen.
    bool rest(int half)
    {
        if (!activate())
            return false;
        if (m_title == startTitle) {
            key(QStringLiteral("alt+t"));
            key(QStringLiteral("alt+f"));
            if (!waitFor([this] { return Viewer::isFullScreen(window()); }))
                return false;
        }
        key(QStringLiteral("Escape"));
        if (!waitFor([this] { return !Viewer::isFullScreen(window()); }))
            return false;
        ask(QStringLiteral("wmctrl"),
            {QStringLiteral("-i"), QStringLiteral("-r"), QString::fromLatin1(window()), QStringLiteral("-e"),
             QStringLiteral("0,%1,100,600,500").arg(20 + half * 640)});
        return waitFor([this, half] {
                   const QRect place = Viewer::geometry(window());
                   return place.size() == QSize(600, 500) && place.left() / 640 == half && !isSpinning();
               }) &&
               !stillPicture().isNull();
    }
    QImage stillPicture()
    {
        return Quorvel::stillPicture([this] { return picture(); }, patience);
    }

    bool join(const QString &number)
    {
        if (!activate())
            return false;
        key(QStringLiteral("alt+j"));
        if (!isActive(joinTitle))
            return false;
        for (const QString &text : {QStringLiteral("localhost"), m_name, number}) {
            key(QStringLiteral("ctrl+a"));
            type(text);
            key(QStringLiteral("Tab"));
        }
        key(QStringLiteral("Return"));
        return waitFor([this] { return window(joinTitle).isEmpty(); });
    }
    bool answer(const QStringList &keys)
    {
        if (!isActive(questionTitle))
            return false;
        for (const QString &answerKey : keys)
            key(answerKey);
        return waitFor([this] { return window(questionTitle).isEmpty(); });
    }
    /// With OK, which has the keys, and Cancel behind it.
    bool accept() { return answer({QStringLiteral("Return")}); }
    bool refuse() { return answer({QStringLiteral("Tab"), QStringLiteral("space")}); }

    bool open(const QString &filename, const QString &title)
    {
        if (!activate())
            return false;
        key(QStringLiteral("ctrl+o"));
        if (!isActive(QStringLiteral("Open")))
            return false;
        type(filename);
        key(QStringLiteral("Return"));
        m_title = title;
        return waitFor([this] { return Viewer::isFullScreen(window()); });
    }

    /// Drags from the middle of the window to the right, and waits for the picture to change.
    bool drag(int pixels)
    {
        if (!activate())
            return false;
        const QImage before = picture();
        const QPoint middle = Viewer::geometry(window()).center();
        point({"mousemove", QString::number(middle.x()), QString::number(middle.y()), "mousedown", "1",
               "mousemove_relative", "--", QString::number(pixels), "0", "mouseup", "1"});
        return waitFor([this, before] { return !isSame(picture(), before); });
    }

private:
    static void type(const QString &text)
    {
        point({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("5"), text});
    }

    bool isActive(const QString &title)
    {
        return waitFor([this, title] {
            const QByteArray id = window(title);
            if (id.isEmpty() || Viewer::isActive(id))
                return !id.isEmpty();
            ask(QStringLiteral("wmctrl"),
                {QStringLiteral("-i"), QStringLiteral("-a"), QString::fromLatin1(id)});
            return false;
        });
    }

    const QString m_name;
    QString m_title = startTitle;
    Viewer m_viewer{{}};
};

struct Relay : RelayProcess
{
    Relay() : RelayProcess({}, QStringLiteral("127.0.0.1:80")) {}

    /// Whether the next one who is let in is that person, into that session.
    bool admits(const Person &person, const QString &number)
    {
        const QJsonObject admission = event(QStringLiteral("admit"));
        return admission.value(QStringLiteral("name")).toString() == person.name() &&
               admission.value(QStringLiteral("session")).toInt() == number.toInt();
    }
};

/// Two persons at one screen. Ann is there first, and asked about Ben.
struct Pair
{
    bool start() { return ann.hasStarted() && ben.hasStarted(); }
    bool annJoins(Relay *relay) { return ann.join(session) && relay->admits(ann, session); }
    bool benJoins(Relay *relay) { return ben.join(session) && ann.accept() && relay->admits(ben, session); }
    /// Both in one session, side by side, with the room that Ann has opened.
    bool meet(Relay *relay)
    {
        return start() && annJoins(relay) && benJoins(relay) && ben.rest(1) && ann.open(room, roomTitle) &&
               ann.rest(0) && seeTheSame();
    }
    /// The pictures of both, a wall on them, become the same.
    bool seeTheSame()
    {
        return waitFor([this] {
            const QImage hers = ann.picture();
            return Wall(hers).isVisible() && isSame(hers, ben.picture());
        });
    }

    Person ann{QStringLiteral("Ann")};
    Person ben{QStringLiteral("Ben")};
};

} // namespace

/// Two viewers and the relay, as people use them: through pointer, keys and windows of one screen.
class TestSharedViewers : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void sceneAndCameraAreShared();
    void receivedSceneReplacesTheLogo();
    void refusedThenAccepted();
    void leavesAndJoinsAgain();
    void participantQuits();
    void relayIsKilledAndRestarted();
};

void TestSharedViewers::init()
{
    QSettings(QStringLiteral("Quorvel Project"), QStringLiteral("Quorvel")).clear();
    point({QStringLiteral("mousemove"), QStringLiteral("640"), QStringLiteral("790")});
}

void TestSharedViewers::sceneAndCameraAreShared()
{
    Relay relay;
    Pair pair;
    QVERIFY(pair.start());
    QVERIFY(pair.annJoins(&relay));
    QVERIFY(pair.benJoins(&relay));
    QVERIFY(pair.ben.rest(1));
    QVERIFY(!pair.ben.wall().isVisible());

    QVERIFY(pair.ann.open(room, roomTitle));
    QVERIFY(pair.ann.rest(0));
    QVERIFY(pair.seeTheSame());
    const int width = pair.ben.wall().width();

    // 100 pixels turn by 40 degrees: the wall is seen from the side, narrower.
    QVERIFY(pair.ann.drag(100));
    QVERIFY(pair.seeTheSame());
    QVERIFY(pair.ben.wall().width() < 0.9 * width);
    QVERIFY(pair.ben.drag(-100));
    QVERIFY(pair.seeTheSame());
    QVERIFY(qAbs(pair.ann.wall().width() - width) <= 2);

    // The other one opens the same wall, seen from twice as far.
    QVERIFY(pair.ben.open(hall, hallTitle));
    QVERIFY(pair.ben.rest(1));
    QVERIFY(pair.seeTheSame());
    QVERIFY(qAbs(pair.ann.wall().width() - width / 2) <= 2);
    QVERIFY(pair.ann.isRunning() && pair.ben.isRunning());
}

void TestSharedViewers::receivedSceneReplacesTheLogo()
{
    Relay relay;
    Pair pair;
    QVERIFY(pair.start());
    QVERIFY(pair.annJoins(&relay));
    QVERIFY(pair.benJoins(&relay));
    QVERIFY(pair.ben.activate());
    const QRect thumbnails(0, 0, 640, 60);
    const QImage before = pair.ben.picture().copy(thumbnails);

    QVERIFY(pair.ann.open(room, roomTitle));
    QVERIFY(pair.ben.activate());
    // It goes on spinning as the logo did.
    const auto surface = [&pair] { return Wall(pair.ben.picture().copy(0, 100, 640, 280)); };
    QVERIFY(waitFor([&surface] { return surface().width() > 100; }));
    QVERIFY(waitFor([&surface] { return surface().width() < 60; }));
    QVERIFY(waitFor([&surface] { return surface().width() > 100; }));
    QVERIFY(isSame(pair.ben.picture().copy(thumbnails), before));
    QCOMPARE(pair.ben.size(), QSize(640, 480));
    QVERIFY(!Viewer::isFullScreen(pair.ben.window()));
}

void TestSharedViewers::refusedThenAccepted()
{
    Relay relay;
    Pair pair;
    QVERIFY(pair.start());
    QVERIFY(pair.annJoins(&relay));
    QVERIFY(pair.ann.open(room, roomTitle));
    QVERIFY(pair.ann.rest(0));
    QVERIFY(pair.ben.rest(1));
    const QImage before = pair.ben.stillPicture();

    QVERIFY(pair.ben.join(session));
    QVERIFY(pair.ann.refuse());
    QVERIFY(!relay.event(QStringLiteral("refuse")).isEmpty());
    QVERIFY(pair.ann.drag(100));
    QVERIFY(pair.ann.drag(-50));
    QVERIFY(isSame(pair.ben.stillPicture(), before));

    // Later he gets what is shown by then.
    QVERIFY(pair.benJoins(&relay));
    QVERIFY(pair.seeTheSame());
    QVERIFY(pair.ben.drag(50));
    QVERIFY(pair.seeTheSame());
}

void TestSharedViewers::leavesAndJoinsAgain()
{
    Relay relay;
    Pair pair;
    QVERIFY(pair.meet(&relay));

    // Nobody is in that other session, so nobody is asked.
    const QString other = QStringLiteral("22222");
    QVERIFY(pair.ben.join(other));
    QVERIFY(relay.admits(pair.ben, other));
    const QImage before = pair.ben.stillPicture();
    QVERIFY(pair.ann.drag(100));
    QVERIFY(isSame(pair.ben.stillPicture(), before));
    const QImage turned = pair.ann.stillPicture();
    QVERIFY(pair.ben.drag(-100));
    QVERIFY(isSame(pair.ann.stillPicture(), turned));

    QVERIFY(pair.benJoins(&relay));
    QVERIFY(pair.seeTheSame());
    QVERIFY(isSame(pair.ann.stillPicture(), turned));
    QVERIFY(pair.ben.drag(30));
    QVERIFY(pair.seeTheSame());
}

void TestSharedViewers::participantQuits()
{
    Relay relay;
    Pair pair;
    QVERIFY(pair.meet(&relay));
    QVERIFY(pair.ben.activate());
    QVERIFY(pair.ben.quit());
    QVERIFY(!relay.event(QStringLiteral("leave")).isEmpty());
    QVERIFY(pair.ann.drag(100));

    Person next(QStringLiteral("Cy"));
    QVERIFY(next.hasStarted());
    QVERIFY(next.rest(1));
    QVERIFY(next.join(session));
    QVERIFY(pair.ann.accept());
    QVERIFY(relay.admits(next, session));
    QVERIFY(waitFor([&] { return isSame(next.picture(), pair.ann.picture()); }));
    QVERIFY(pair.ann.activate());
    QVERIFY(pair.ann.quit());
    QVERIFY(next.activate());
    QVERIFY(next.drag(100));
    QVERIFY(next.quit());
}

void TestSharedViewers::relayIsKilledAndRestarted()
{
    Pair pair;
    {
        Relay relay;
        QVERIFY(pair.meet(&relay));
        relay.signal(SIGKILL);
        QVERIFY(waitFor([&relay] { return !relay.isRunning(); }));
    }
    // Everyone goes on alone.
    const QImage before = pair.ben.stillPicture();
    QVERIFY(pair.ann.drag(100));
    QVERIFY(isSame(pair.ben.stillPicture(), before));
    QVERIFY(pair.ben.drag(-50));

    // With nobody there it is no error to ask either.
    QVERIFY(pair.ann.join(session));
    QVERIFY(pair.ann.drag(-20));

    Relay relay;
    QVERIFY(pair.annJoins(&relay));
    QVERIFY(pair.benJoins(&relay));
    QVERIFY(pair.ann.drag(10));
    QVERIFY(pair.seeTheSame());
    QVERIFY(pair.ann.open(hall, hallTitle));
    QVERIFY(pair.ann.rest(0));
    QVERIFY(pair.seeTheSame());
    QVERIFY(pair.ann.isRunning() && pair.ben.isRunning());
}

int main(int argc, char *argv[])
{
    const OwnNetwork network;
    if (!network.isValid()) {
        fprintf(stderr, "no network of our own: %s\n", network.errorString().constData());
        return 1;
    }
    const VirtualScreen screen;
    if (!screen.isValid()) {
        fprintf(stderr, "no virtual screen: %s\n", qPrintable(screen.errorString()));
        return 1;
    }
    const QCoreApplication application(argc, argv);
    TestSharedViewers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_sharedviewers.moc"
