#include "ProgramHome.h"
#include "SquareScene.h"
#include "StillPicture.h"
#include "ViewerWindow.h"

#include <QScreen>

using namespace Quorvel;
using namespace Quorvel::Test;

namespace
{

/// A scene's light, as its element's content.
QByteArray light(const QByteArray &kind, const QByteArray &parameters = {})
{
    return "<light id=\"lamp\"><technique_common><" + kind + "><color>0.9 0.6 0.3</color>" + parameters +
           "</" + kind + "></technique_common></light>";
}

/// What the screen shows where the drawing surface is.
QImage shown(const MainView &view)
{
    const QRect place(view.pipeline()->mapToGlobal(QPoint()), view.pipeline()->size());
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    return screen.copy(place).convertToFormat(QImage::Format_RGB32);
}

} // namespace

/// What the viewer shows of a scene, whatever it has shown before, against the program that draws without a
/// window and has drawn nothing before.
class TestViewerPictures : public QObject
{
    Q_OBJECT

private slots:
    void equalThoseWithoutAWindow_data();
    void equalThoseWithoutAWindow();

private:
    /// As quorvel-render draws it.
    QImage drawnAlone(const QString &scene, const QSize &size, const QStringList &options = {}) const;

    ProgramHome m_home;
};

QImage TestViewerPictures::drawnAlone(const QString &scene, const QSize &size,
                                      const QStringList &options) const
{
    const QString picture = m_home.path(QStringLiteral("alone.png"));
    const QStringList arguments = {QStringLiteral("--gl"),
                                   QStringLiteral("desktop"),
                                   QStringLiteral("--size"),
                                   QStringLiteral("%1x%2").arg(size.width()).arg(size.height()),
                                   scene,
                                   picture};
    const ProgramEnd end = m_home.run(QStringLiteral(QUORVEL_RENDER), options + arguments);
    if (end.crashed || end.status != 0)
        qWarning("%s", qPrintable(end.err));
    return QImage(picture).convertToFormat(QImage::Format_RGB32);
}

void TestViewerPictures::equalThoseWithoutAWindow_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QByteArray>("lamp");

    const QByteArray cone = "<falloff_angle>20</falloff_angle><outer_cone>35</outer_cone>";
    const QVector<QPair<const char *, QByteArray>> lights = {{"no light", QByteArray()},
                                                             {"ambient", light("ambient")},
                                                             {"directional", light("directional")},
                                                             {"point", light("point")},
                                                             {"spot", light("spot", cone)}};
    for (const auto &[name, text] : lights) {
        QTest::addRow("%s after the logo", name) << QString() << text;
        QTest::addRow("%s after a sample", name) << QStringLiteral(":/models/objects.DAE") << text;
    }
}

void TestViewerPictures::equalThoseWithoutAWindow()
{
    QFETCH(QString, before);
    QFETCH(QByteArray, lamp);
    SquareScene sketch;
    sketch.ambient = "0.5 0.4 0.3";
    sketch.diffuse = "0.8 0.9 0.7";
    sketch.light = lamp;
    sketch.place = "0.3 0.2 2";
    const QString scene = m_home.write(QStringLiteral("scene.dae"), sketch.text());

    ViewerWindow window;
    if (before.isEmpty()) {
        QVERIFY(window.open(scene));
    } else {
        QVERIFY(window.open(before));
        window.view.openScene(scene);
        QTRY_COMPARE(window.title(), QStringLiteral("/scene.dae - Quorvel"));
    }
    const auto atRest = [&window] { return stillPicture([&window] { return shown(window.view); }, 10000); };
    const QImage picture = atRest();
    QVERIFY(picture.pixelColor(picture.rect().center()) != QColor(Qt::black));
    QCOMPARE(picture, drawnAlone(scene, picture.size()));

    // The logo spins in low quality, which has a program of its own.
    window.state().setLowQuality(true);
    window.view.pipeline()->update();
    QCOMPARE(atRest(), drawnAlone(scene, picture.size(), {QStringLiteral("--low-quality")}));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestViewerPictures>(argc, argv);
}

#include "tst_viewerpictures.moc"
