#include "ColladaLoader.h"
#include "JoinRequestDialog.h"
#include "MessageCapture.h"
#include "OwnNetwork.h"
#include "RecordRoundTrip.h"
#include "RecordSamples.h"
#include "SceneAssembly.h"
#include "SessionWindow.h"

#include <QLabel>
#include <QSettings>

#include <limits>

using namespace Quorvel;

namespace
{

const QString room = QStringLiteral(QUORVEL_FIXTURES "/window/room.dae");
const QString hall = QStringLiteral(QUORVEL_FIXTURES "/window/hall.dae");

const QString serverKey = QStringLiteral("SharedSessions/server");
const QString userNameKey = QStringLiteral("SharedSessions/username");

/// The data of a camera move, written from its byte layout.
QByteArray cameraData(const QMatrix4x4 &transform)
{
    RecordBytes bytes;
    bytes.matrix(transform);
    return bytes.bytes();
}

/// The data of a scene message, of a scene file.
QByteArray sceneData(const QString &filename)
{
    Scene scene;
    const ColladaLoader loader(&scene, filename);
    return qCompress(saved(scene));
}

QByteArray joinRequest(const char *clientId, const char *userName)
{
    const QByteArray name = SessionPeer::utf16(userName);
    return SessionPeer::frame(3, SessionPeer::utf16(clientId), name,
                              SessionPeer::word(quint32(name.size())) + name);
}

} // namespace

/// The window in a shared session, over a real connection whose other end is plain sockets.
class TestSessionView : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void cancelledJoinDialog();
    void acceptedJoinDialog();

    void sendsOnlyWhileActive();
    void sendsOpenedScenes();
    void sendsEveryCameraMoveOfPointerAndWheel();

    void receivedCamera();
    void receivedCameraDuringADrag();
    void damagedCameras_data();
    void damagedCameras();
    void senselessCameras_data();
    void senselessCameras();

    void receivedSceneReplacesTheShownOne();
    void receivedSceneReplacesTheLogoInPlace();
    void receivedSceneDuringALoad();
    void hostileScenes();

    void joinRequestsAreAnsweredOneAfterAnother();
    void moreJoinRequestsThanAnyoneAnswers();
    void saysWhenASceneIsTooLargeToSend();
    void sceneDuringAQuestion();

    void serverGoesAndComesBack();
};

void TestSessionView::init()
{
    QSettings(QCoreApplication::organizationName(), QCoreApplication::applicationName()).clear();
}

// Joining

void TestSessionView::cancelledJoinDialog()
{
    JoinedWindow window;
    QVERIFY(window.start());
    QSettings settings(QCoreApplication::organizationName(), QCoreApplication::applicationName());
    settings.setValue(serverKey, QStringLiteral("127.0.0.1"));
    settings.sync();
    window.view.statusBar()->showMessage(QStringLiteral("something else"));

    const Answering<JoinSessionDialog> answering([](JoinSessionDialog *dialog, int) {
        fieldAt(dialog, 0)->setText(QStringLiteral("localhost"));
        fieldAt(dialog, 1)->setText(QStringLiteral("Jo"));
        click(dialog, QDialogButtonBox::Cancel);
        return true;
    });
    window.view.joinSharedSession();
    QCOMPARE(answering.count(), 1);
    QVERIFY(window.isIdle());
    settings.sync();
    QCOMPARE(settings.value(serverKey).toString(), QStringLiteral("127.0.0.1"));
    QVERIFY(!settings.contains(userNameKey));
    QTest::qWait(100);
    QVERIFY(!window.peer.accept());
}

void TestSessionView::acceptedJoinDialog()
{
    JoinedWindow window;
    QVERIFY(window.start());
    window.view.statusBar()->showMessage(QStringLiteral("something else"));
    {
        const Answering<JoinSessionDialog> answering([](JoinSessionDialog *dialog, int) {
            fieldAt(dialog, 0)->setText(QStringLiteral("127.0.0.1"));
            fieldAt(dialog, 1)->setText(QStringLiteral("Jo"));
            fieldAt(dialog, 2)->setText(QStringLiteral("22222"));
            click(dialog, QDialogButtonBox::Ok);
            return true;
        });
        window.view.joinSharedSession();
        QCOMPARE(answering.count(), 1);
    }
    QVERIFY(window.isIdle());
    QVERIFY(QTest::qWaitFor([&window] { return window.peer.accept(); }, patience));
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 3);
    QCOMPARE(window.frame.userName, SessionPeer::utf16("Jo"));
    QCOMPARE(window.frame.data, SessionPeer::word(10) + SessionPeer::utf16("22222"));
    QVERIFY(!window.session()->isActive());
    const QSettings settings(QCoreApplication::organizationName(), QCoreApplication::applicationName());
    QCOMPARE(settings.value(serverKey).toString(), QStringLiteral("127.0.0.1"));
    QCOMPARE(settings.value(userNameKey).toString(), QStringLiteral("Jo"));
}

// Sending

void TestSessionView::sendsOnlyWhileActive()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.ask());
    window.dragBy({10, 0});
    window.wheel(120);
    QVERIFY(window.openNext(hall));

    // Nothing of that is in front of the first move afterwards.
    QVERIFY(window.activate());
    window.dragBy({20, 0});
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 2);
    QCOMPARE(window.frame.clientId, SessionPeer::utf16("7"));
    QCOMPARE(window.frame.userName, SessionPeer::utf16("quest"));
    QCOMPARE(window.frame.data, cameraData(window.camera()));

    window.send(7, QByteArray());
    QTRY_VERIFY_WITH_TIMEOUT(!window.session()->isActive(), patience);
    window.dragBy({30, 0});
    window.wheel(120);
    QVERIFY(window.openNext(room));
    QVERIFY(window.activate());
    window.dragBy({40, 0});
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 2);
    QCOMPARE(window.frame.data, cameraData(window.camera()));
}

void TestSessionView::sendsOpenedScenes()
{
    JoinedWindow window;
    QVERIFY(window.start());
    QVERIFY(window.join());
    QVERIFY(window.open(room));
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 6);
    QCOMPARE(window.frame.userName, SessionPeer::utf16("quest"));
    QCOMPARE(qUncompress(window.frame.data), saved(*window.view.scene()));
}

void TestSessionView::sendsEveryCameraMoveOfPointerAndWheel()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    QList<QByteArray> moves;
    const auto noteMove = [&window, &moves] { moves.append(cameraData(window.camera())); };
    window.press({400, 300});
    for (int i = 1; i <= 5; ++i) {
        window.moveTo({400 + 7 * i, 300 + i});
        noteMove();
    }
    window.release({440, 310});
    window.wheel(120);
    noteMove();
    // The test animation is everyone's own.
    window.view.toggleTestAnimation();
    QTest::qWait(100);
    window.view.toggleTestAnimation();
    window.wheel(-240);
    noteMove();
    for (const QByteArray &move : qAsConst(moves)) {
        QVERIFY(window.takeFrame());
        QCOMPARE(window.frame.kind, 2);
        QCOMPARE(window.frame.data, move);
    }
}

// Received camera moves

void TestSessionView::receivedCamera()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    const int width = window.stillWall().width();
    QVERIFY(width > 0);

    const QMatrix4x4 away = translation(0, 0, 20);
    window.send(2, cameraData(away));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), away, patience);
    QVERIFY(window.state().lowQuality());
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(window.wall().width() - width / 2) <= 2, patience);
    QTRY_VERIFY_WITH_TIMEOUT(!window.state().lowQuality(), patience);

    window.view.toggleLowQuality();
    window.send(2, cameraData(translation(0, 0, 10)));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), translation(0, 0, 10), patience);
    QVERIFY(!window.state().lowQuality());

    // What was received is not sent on.
    window.wheel(120);
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.data, cameraData(window.camera()));
}

void TestSessionView::receivedCameraDuringADrag()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    window.press({400, 300});
    window.moveTo({450, 300});
    const QMatrix4x4 away = translation(0, 0, 20);
    window.send(2, cameraData(away));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), away, patience);
    // The drag goes on from there.
    window.moveTo({450, 310});
    QVERIFY(window.camera() != away);
    QVERIFY(qAbs(window.camera().column(3).toVector3D().length() - 20) < 1e-3f);
    window.send(2, cameraData(away));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), away, patience);
    window.release({450, 310});
    QCOMPARE(window.camera(), away);
}

void TestSessionView::damagedCameras_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("too short") << cameraData(translation(0, 0, 20)).left(127);
    for (const int at : {0, 7, 15}) {
        for (const float number :
             {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
            QMatrix4x4 damaged = translation(0, 0, 20);
            damaged.data()[at] = number;
            QTest::addRow("%g at %d", double(number), at) << cameraData(damaged);
        }
    }
}

void TestSessionView::damagedCameras()
{
    QFETCH(QByteArray, data);
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    const QMatrix4x4 before = window.camera();
    {
        const MessageCapture capture;
        window.send(2, data);
        QTRY_COMPARE_WITH_TIMEOUT(MessageCapture::lines(),
                                  QStringList(QStringLiteral("MainView: camera move from the shared session "
                                                             "refused")),
                                  patience);
    }
    QCOMPARE(window.camera(), before);
    QVERIFY(!window.state().lowQuality());
    QVERIFY(window.session()->isActive());
    window.send(2, cameraData(translation(0, 0, 20)));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), translation(0, 0, 20), patience);
}

void TestSessionView::senselessCameras_data()
{
    QTest::addColumn<QMatrix4x4>("transform");
    QMatrix4x4 zero;
    zero.fill(0);
    QMatrix4x4 largest;
    largest.fill(std::numeric_limits<float>::max());
    QMatrix4x4 flat;
    flat.scale(1, 1, 0);
    QMatrix4x4 smallest;
    smallest.scale(std::numeric_limits<float>::denorm_min());
    QTest::newRow("zero") << zero;
    QTest::newRow("largest") << largest;
    QTest::newRow("flat") << flat;
    QTest::newRow("smallest") << smallest;
    QTest::newRow("far away") << translation(3e38f, -3e38f, 3e38f);
    QTest::newRow("without perspective row") << QMatrix4x4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0);
}

void TestSessionView::senselessCameras()
{
    QFETCH(QMatrix4x4, transform);
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    const Wall before = window.stillWall();
    QVERIFY(before.isVisible());

    for (const bool everything : {false, true}) {
        window.state().setOutlines(everything);
        window.state().setAmbientOcclusion(everything);
        window.send(2, cameraData(transform));
        QTRY_COMPARE_WITH_TIMEOUT(window.camera(), transform, patience);
        QTRY_VERIFY_WITH_TIMEOUT(!window.state().lowQuality(), patience);
        window.dragBy({10, 10});
        window.wheel(120);
        QTRY_VERIFY_WITH_TIMEOUT(!window.state().lowQuality(), patience);
    }
    window.state().setOutlines(false);
    window.state().setAmbientOcclusion(false);

    window.send(2, cameraData(translation(0, 0, 10)));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), translation(0, 0, 10), patience);
    QCOMPARE(window.stillWall().image, before.image);
}

// Received scenes

void TestSessionView::receivedSceneReplacesTheShownOne()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    const int width = window.stillWall().width();
    QVERIFY(width > 0);
    const Scene *const scene = window.view.scene();

    window.send(6, sceneData(hall));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(window.wall().width() - width / 2) <= 2, patience);
    QCOMPARE(window.view.scene(), scene);
    QCOMPARE(window.view.centralWidget(), static_cast<QWidget *>(window.view.pipeline()));
    QCOMPARE(window.title(), QStringLiteral("/room.dae - Quorvel"));
    QVERIFY(window.isIdle());

    // It is a scene like any other: it can be moved, and replaced by a file.
    window.dragBy({10, 0});
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.data, cameraData(window.camera()));
    QVERIFY(window.openNext(room));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(window.wall().width() - width) <= 2, patience);
}

void TestSessionView::receivedSceneReplacesTheLogoInPlace()
{
    JoinedWindow window;
    QVERIFY(window.start());
    QVERIFY(window.join());
    const Scene *const scene = window.view.scene();
    const StartScreen *const startScreen = window.startScreen();

    window.send(6, sceneData(room));
    QTRY_VERIFY_WITH_TIMEOUT(window.wall().isVisible(), patience);
    QCOMPARE(window.view.scene(), scene);
    QCOMPARE(window.startScreen(), startScreen);
    QCOMPARE(window.thumbnails().size(), 5);
    QVERIFY(!window.title().contains(QStringLiteral("room")));
    QVERIFY(window.isIdle());
    const QMatrix4x4 camera = window.camera();
    QTRY_VERIFY_WITH_TIMEOUT(window.camera() != camera, patience);
    QVERIFY(qAbs(window.camera().column(3).toVector3D().length() - 10) < 1e-2f);

    // The next one too, byte by byte made by hand.
    window.send(6, qCompress(completeRecord(QStringLiteral("n1")).bytes()));
    QTRY_COMPARE_WITH_TIMEOUT(window.view.scene()->name(), QStringLiteral("s"), patience);
    QCOMPARE(window.view.scene(), scene);
    QCOMPARE(ids(window.view.scene()->nodes()),
             QStringList({QStringLiteral("n0"), QStringLiteral("n1"), QStringLiteral("n2")}));
    QCOMPARE(window.startScreen(), startScreen);
}

void TestSessionView::receivedSceneDuringALoad()
{
    JoinedWindow window;
    QVERIFY(window.open(hall));
    QVERIFY(window.join());
    window.send(6, qCompress(completeRecord(QStringLiteral("n1")).bytes()));
    window.view.openScene(room);
    QTRY_COMPARE_WITH_TIMEOUT(window.title(), QStringLiteral("/room.dae - Quorvel"), patience);
    window.send(6, sceneData(hall));
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), translation(0, 0, 20), patience);
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 6);
}

void TestSessionView::hostileScenes()
{
    const QByteArray sound = sceneData(hall);
    const QByteArray record = qUncompress(sound);
    QList<QPair<QString, QByteArray>> cases = {
        {QStringLiteral("nothing"), QByteArray()},
        {QStringLiteral("size only"), sound.left(4)},
        {QStringLiteral("not compressed"), record},
        {QStringLiteral("cut off"), sound.left(sound.size() / 2)},
        {QStringLiteral("announces 4 GiB"), QByteArray::fromHex("ffffffff") + sound.mid(4)},
        {QStringLiteral("bomb"), qCompress(QByteArray(64 << 20, '\0'), 9)},
        {QStringLiteral("record cut off"), qCompress(record.left(record.size() - 1))},
        {QStringLiteral("record goes on"), qCompress(record + '\0')},
        {QStringLiteral("one byte"), qCompress(QByteArray(1, '\0'))},
        {QStringLiteral("light without target"), qCompress(completeRecord().bytes())}};
    const RecordBytes whole = completeRecord(QStringLiteral("n1"));
    for (const RecordBytes::Count &count : whole.counts()) {
        const QByteArray damaged =
            QByteArray(whole.bytes()).replace(count.offset, 4, QByteArray::fromHex("7fffffff"));
        cases.append({count.name, qCompress(damaged)});
    }

    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    const Wall before = window.stillWall();
    QVERIFY(before.isVisible());
    const QByteArray scene = saved(*window.view.scene());
    for (const auto &[name, data] : qAsConst(cases)) {
        const MessageCapture capture;
        window.send(6, data);
        const bool refused = QTest::qWaitFor([] { return !MessageCapture::lines().isEmpty(); }, patience);
        QVERIFY2(refused, qPrintable(name));
        QVERIFY2(MessageCapture::lines().first().startsWith(
                     QStringLiteral("MainView: scene from the shared session refused: ")),
                 qPrintable(name + QStringLiteral(": ") + MessageCapture::lines().first()));
        QVERIFY2(window.isIdle(), qPrintable(name));
        QVERIFY2(saved(*window.view.scene()) == scene, qPrintable(name));
    }
    QCOMPARE(window.stillWall().image, before.image);
    QVERIFY(window.session()->isActive());
    window.send(6, sound);
    QTRY_COMPARE_WITH_TIMEOUT(window.camera(), translation(0, 0, 20), patience);
}

// Join requests of others

void TestSessionView::joinRequestsAreAnsweredOneAfterAnother()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    QStringList questions;
    bool alone = true;
    const Answering<JoinRequestDialog> answering(
        [&window, &questions, &alone](JoinRequestDialog *dialog, int count) {
            // The first question waits until all others have come in: the camera moves behind them.
            if (window.camera() != translation(0, 0, 20))
                return false;
            for (const QWidget *const other : QApplication::topLevelWidgets())
                alone = alone && (other == dialog || !qobject_cast<const QDialog *>(other));
            questions.append(dialog->findChild<QLabel *>()->text());
            click(dialog, count == 1 ? QDialogButtonBox::Cancel : QDialogButtonBox::Ok);
            return true;
        });
    window.peer.send(joinRequest("11", "Ann") + joinRequest("12", "Ben") + joinRequest("13", "Cy"));
    window.send(2, cameraData(translation(0, 0, 20)));
    const struct
    {
        int kind;
        const char *clientId;
        const char *userName;
    } answers[] = {{4, "11", "Ann"}, {5, "12", "Ben"}, {4, "13", "Cy"}};
    for (const auto &answer : answers) {
        QVERIFY(window.takeFrame());
        QCOMPARE(window.frame.kind, answer.kind);
        QCOMPARE(window.frame.clientId, SessionPeer::utf16(answer.clientId));
        QCOMPARE(window.frame.userName, SessionPeer::utf16(answer.userName));
        QVERIFY(window.frame.data.isEmpty());
    }
    QCOMPARE(questions, QStringList({QStringLiteral("Accept user Ann to join this shared session?"),
                                     QStringLiteral("Accept user Ben to join this shared session?"),
                                     QStringLiteral("Accept user Cy to join this shared session?")}));
    QVERIFY(alone);
}

void TestSessionView::moreJoinRequestsThanAnyoneAnswers()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    // One is asked about, 16 wait, and three are refused without a question.
    constexpr int asked = 17;
    constexpr int refused = 3;
    {
        const MessageCapture capture;
        const Answering<JoinRequestDialog> answering([&window](JoinRequestDialog *dialog, int) {
            if (window.camera() != translation(0, 0, 20))
                return false;
            click(dialog, QDialogButtonBox::Cancel);
            return true;
        });
        for (int i = 0; i < asked + refused; ++i)
            window.peer.send(joinRequest(QByteArray::number(i).constData(), "Ann"));
        window.send(2, cameraData(translation(0, 0, 20)));
        QTRY_COMPARE_WITH_TIMEOUT(answering.count(), asked, patience);
        QCOMPARE(
            MessageCapture::lines()
                .filter(QStringLiteral("JoinQuestions: join request refused, too many wait for an answer"))
                .size(),
            refused);
    }
    // Those that found no room hear it first.
    for (int i = 0; i < asked + refused; ++i) {
        QVERIFY(window.takeFrame());
        QCOMPARE(window.frame.kind, 5);
        const int asker = i < refused ? asked + i : i - refused;
        QCOMPARE(window.frame.clientId, SessionPeer::utf16(QByteArray::number(asker).constData()));
    }
    window.wheel(120);
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 2);
}

void TestSessionView::saysWhenASceneIsTooLargeToSend()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    auto *const scene = new Scene;
    SceneAssembly assembly(scene);
    // 24 bytes each in the record, which takes a little more than 256 MiB.
    assembly.geometry(QStringLiteral("g"))->setExtraVectors(QVector<QVector3D>(256 * 1024 * 1024 / 24));
    assembly.node(QStringLiteral("c"), nullptr, assembly.camera(QStringLiteral("c")));
    scene->complete();
    window.view.sceneLoadCompleted(scene);
    QTRY_COMPARE(window.status(),
                 QStringLiteral("The others do not get this scene: it takes 257 MiB, and a shared "
                                "session carries 256 MiB."));
    // The session goes on, and so does the window.
    window.wheel(120);
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 2);
    QVERIFY(window.openNext(room));
    QVERIFY(window.isIdle());
}

void TestSessionView::sceneDuringAQuestion()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    const Answering<JoinRequestDialog> answering([&window](JoinRequestDialog *dialog, int) {
        if (window.camera() != translation(0, 0, 30))
            return false;
        click(dialog, QDialogButtonBox::Ok);
        return true;
    });
    window.peer.send(joinRequest("11", "Ann"));
    window.send(6, sceneData(hall));
    window.send(2, cameraData(translation(0, 0, 30)));
    QVERIFY(window.takeFrame());
    QCOMPARE(window.frame.kind, 4);
    QCOMPARE(window.camera(), translation(0, 0, 30));
}

// The server's end

void TestSessionView::serverGoesAndComesBack()
{
    JoinedWindow window;
    QVERIFY(window.open(room));
    QVERIFY(window.join());
    for (int i = 0; i < 2; ++i) {
        window.peer.hangUp();
        QTRY_VERIFY_WITH_TIMEOUT(!window.session()->isActive(), patience);
        const QMatrix4x4 before = window.camera();
        window.dragBy({10, 0});
        QVERIFY(window.camera() != before);
        QVERIFY(window.openNext(i == 0 ? hall : room));
        QVERIFY(window.isIdle());
        QVERIFY(window.join());
        window.wheel(120);
        QVERIFY(window.takeFrame());
        QCOMPARE(window.frame.data, cameraData(window.camera()));
    }
}

int main(int argc, char *argv[])
{
    const OwnNetwork network;
    if (!network.isValid()) {
        fprintf(stderr, "no network of our own: %s\n", network.errorString().constData());
        return 1;
    }
    return runOnVirtualScreen<TestSessionView>(argc, argv);
}

#include "tst_sessionview.moc"
