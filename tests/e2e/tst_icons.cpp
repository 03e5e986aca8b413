#include "ViewerWindow.h"

using namespace Quorvel;

namespace
{

/// Of thumbnails and status buttons: the resource is ":/icons/" + name + ".png".
const QStringList thumbnailNames = {
    QStringLiteral("demo_thumbnails/bedroom"), QStringLiteral("demo_thumbnails/spiral"),
    QStringLiteral("demo_thumbnails/quorvel"), QStringLiteral("demo_thumbnails/microscope"),
    QStringLiteral("demo_thumbnails/objects")};
const QMap<QString, QString> statusNames = {
    {QStringLiteral("Back"), QStringLiteral("back")},
    {QStringLiteral("Open"), QStringLiteral("fileopen")},
    {QStringLiteral("Test animation"), QStringLiteral("player_play")},
    {QStringLiteral("Full screen"), QStringLiteral("view_nofullscreen")}};

QImage comparable(const QImage &image)
{
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage resource(const QString &name)
{
    return comparable(QImage(QStringLiteral(":/icons/%1.png").arg(name)));
}

/// The picture that a button has, in a size in which nothing is scaled.
QImage pictureOf(const QToolButton *button, const QSize &size)
{
    return comparable(button->icon().pixmap(size).toImage());
}

/// How many buttons look like one before them.
int repetitions(const QList<QToolButton *> &buttons)
{
    QList<QImage> seen;
    for (QToolButton *const button : buttons) {
        const QImage shown = comparable(button->grab().toImage());
        if (!seen.contains(shown))
            seen.append(shown);
    }
    return buttons.size() - seen.size();
}

} // namespace

/// Which picture stands on which button.
class TestIcons : public QObject
{
    Q_OBJECT

private slots:
    void thumbnails();
    void statusButtons();
};

void TestIcons::thumbnails()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QList<QToolButton *> buttons = window.thumbnails();
    QCOMPARE(buttons.size(), thumbnailNames.size());
    for (int i = 0; i < buttons.size(); ++i) {
        const QImage expected = resource(thumbnailNames[i]);
        QVERIFY(!expected.isNull());
        QCOMPARE(pictureOf(buttons[i], expected.size()), expected);
    }
    QCOMPARE(repetitions(buttons), 0);
}

void TestIcons::statusButtons()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QList<QToolButton *> buttons = window.view.statusBar()->findChildren<QToolButton *>();
    QCOMPARE(buttons.size(), statusNames.size());
    for (const QToolButton *const button : buttons) {
        QVERIFY(statusNames.contains(button->accessibleName()));
        const QImage expected = resource(statusNames.value(button->accessibleName()));
        QVERIFY(!expected.isNull());
        QCOMPARE(pictureOf(button, expected.size()), expected);
    }
    QCOMPARE(repetitions(buttons), 0);
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestIcons>(argc, argv);
}

#include "tst_icons.moc"
