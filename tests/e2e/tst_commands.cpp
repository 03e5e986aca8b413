#include "HeldFile.h"
#include "LoadIndicator.h"
#include "ViewerWindow.h"

#include <QAction>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>

using namespace Quorvel;

namespace
{

const QString fixtures = QStringLiteral(QUORVEL_FIXTURES "/window");
const QString room = fixtures + QStringLiteral("/room.dae");
const QString lastDirectory = QStringLiteral("MainWindow/lastDirectory");

QSettings settings()
{
    return QSettings(QCoreApplication::organizationName(), QCoreApplication::applicationName());
}

QAction *action(const MainView &view, const QString &text)
{
    const QList<QAction *> actions = view.findChildren<QAction *>(QString(), Qt::FindDirectChildrenOnly);
    for (QAction *const action : actions) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

/// The status bar's buttons from left to right.
QList<QToolButton *> statusButtons(const MainView &view)
{
    QList<QToolButton *> buttons = view.statusBar()->findChildren<QToolButton *>();
    std::sort(buttons.begin(), buttons.end(),
              [](const QToolButton *a, const QToolButton *b) { return a->x() < b->x(); });
    return buttons;
}

/// Calls `act` with the dialog that `open` runs, as soon as it has the keys, and tells whether there was one.
template <typename Dialog, typename Open, typename Act>
bool duringDialog(Open open, Act act)
{
    bool found = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&poll, &found, &act] {
        auto *const dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isActiveWindow())
            return;
        poll.stop();
        found = true;
        act(dialog);
        // A check that failed has left it open.
        QTimer::singleShot(5000, dialog, &QDialog::reject);
    });
    poll.start(20);
    open();
    return found;
}

struct UrlCatcher : QObject
{
    Q_OBJECT
public slots:
    void open(const QUrl &url) { urls.append(url); }

public:
    QList<QUrl> urls;
};

} // namespace

/// Menu, buttons, dialogs, dropped files, and what the status bar says meanwhile.
class TestCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void actions_data();
    void actions();
    void actionsAreMadeInOrder();
    void menuBar();
    void actionsReachTheirSlots();
    void statusButtonsStandInOrder();
    void statusTipsGiveTheTextBack();
    void clickedEntriesGiveTheTextBack_data();
    void clickedEntriesGiveTheTextBack();

    void openDialogOpensWhatIsTyped();
    void openDialogStartsInTheLastDirectory();
    void openDialogForgetsAVanishedDirectory();
    void openDialogStopsTheAnimation();
    void noOpenDialogDuringLoad();
    void cancelledOpenDialogShowsTheBanner();

    void painterDialog_data();
    void painterDialog();
    void aboutDialog();
    void moreInfoOpensTheProductPage();
    void keyThatEndedADialogIsNotTheWindows();
    void keyOfAShortcutIsNotTheWindows();

    void droppedSceneIsOpened();
    void droppedOtherThingsAreRefused_data();
    void droppedOtherThingsAreRefused();
    void loadIsSeenToRun();
};

void TestCommands::init()
{
    settings().clear();
}

// Actions

void TestCommands::actions_data()
{
    QTest::addColumn<QString>("tip");
    QTest::addColumn<bool>("checkable");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<QString>("shortcut");

    QTest::newRow("&Open") << "Open an existing file" << false << false << "Ctrl+O";
    QTest::newRow("&Join shared session") << "Join shared session" << false << false << "";
    QTest::newRow("&Exit") << "Exit from application" << false << false << "";
    QTest::newRow("&About") << "Show information about Quorvel" << false << false << "F1";
    QTest::newRow("Select painter...")
        << "Select painter engine that renders the viewport" << false << false << "";
    QTest::newRow("&Backface culling") << "Toggle backface culling" << true << true << "";
    QTest::newRow("&Cast shadows") << "Cast shadows" << true << true << "";
    QTest::newRow("&Ambient occlusion") << "&Ambient occlusion" << true << false << "";
    QTest::newRow("&Low quality") << "&Low quality" << true << true << "";
    QTest::newRow("&Outlines") << "&Outlines" << true << false << "";
    QTest::newRow("&Test animation") << "&Run test animation" << false << false << "";
    QTest::newRow("&Fullscreen") << "&Toggle fullscreen" << false << false << "";
}

void TestCommands::actions()
{
    QFETCH(QString, tip);
    QFETCH(bool, checkable);
    QFETCH(bool, checked);
    QFETCH(QString, shortcut);
    const MainView view;
    const QAction *const found = action(view, QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(found);
    QCOMPARE(found->statusTip(), tip);
    QCOMPARE(found->isCheckable(), checkable);
    QCOMPARE(found->isChecked(), checked);
    QCOMPARE(found->shortcut().toString(), shortcut);
}

void TestCommands::actionsAreMadeInOrder()
{
    const MainView view;
    QStringList texts;
    const QList<QAction *> made = view.findChildren<QAction *>(QString(), Qt::FindDirectChildrenOnly);
    for (const QAction *const action : made)
        texts.append(action->text());
    QCOMPARE(texts, QStringList({"&Open", "&Join shared session", "&Exit", "&About", "Select painter...",
                                 "&Backface culling", "&Cast shadows", "&Ambient occlusion", "&Low quality",
                                 "&Outlines", "&Test animation", "&Fullscreen"}));
}

void TestCommands::menuBar()
{
    const MainView view;
    QStringList texts;
    const QList<QAction *> shown = view.menuBar()->actions();
    for (const QAction *const action : shown) {
        QVERIFY(!action->menu());
        texts.append(action->isSeparator() ? QStringLiteral("|") : action->text());
    }
    QCOMPARE(texts, QStringList({"&Open", "&Join shared session", "|", "|", "&Outlines", "|", "&Fullscreen",
                                 "&Test animation", "|", "&About"}));
}

void TestCommands::actionsReachTheirSlots()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const MainView &view = window.view;
    action(view, QStringLiteral("&Outlines"))->trigger();
    QVERIFY(window.state().outlines());
    QVERIFY(action(view, QStringLiteral("&Outlines"))->isChecked());
    action(view, QStringLiteral("&Ambient occlusion"))->trigger();
    QVERIFY(window.state().ambientOcclusion());
    action(view, QStringLiteral("&Cast shadows"))->trigger();
    QVERIFY(!window.state().castShadows());
    action(view, QStringLiteral("&Backface culling"))->trigger();
    QVERIFY(!window.state().backfaceCulling());
    action(view, QStringLiteral("&Low quality"))->trigger();
    window.wheel(120);
    QVERIFY(!window.state().lowQuality());
    action(view, QStringLiteral("&Test animation"))->trigger();
    QVERIFY(window.state().animating());
    QVERIFY(!action(view, QStringLiteral("&Test animation"))->isChecked());
    action(view, QStringLiteral("&Fullscreen"))->trigger();
    QVERIFY(!view.isFullScreen());
    action(view, QStringLiteral("&Exit"))->trigger();
    QVERIFY(!view.isVisible());
}

void TestCommands::statusButtonsStandInOrder()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QList<QToolButton *> buttons = statusButtons(window.view);
    QStringList names;
    for (const QToolButton *const button : buttons) {
        names.append(button->accessibleName());
        QVERIFY(!button->toolTip().isEmpty());
        QVERIFY(!button->icon().isNull() && !button->icon().pixmap(32).isNull());
        QVERIFY(button->isVisible());
    }
    QCOMPARE(names, QStringList({"Back", "Open", "Test animation", "Full screen"}));

    QTest::mouseClick(buttons[2], Qt::LeftButton);
    QVERIFY(!window.state().animating());
    QTest::mouseClick(buttons[3], Qt::LeftButton);
    QVERIFY(window.view.isFullScreen());
    QVERIFY(!window.startScreen());
    QTest::mouseClick(buttons[0], Qt::LeftButton);
    QVERIFY(window.startScreen());
    QVERIFY(!window.view.isFullScreen());
    QVERIFY(duringDialog<QFileDialog>([&] { QTest::mouseClick(buttons[1], Qt::LeftButton); },
                                      [](QFileDialog *dialog) { dialog->reject(); }));
}

void TestCommands::statusTipsGiveTheTextBack()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const auto tip = [&window](const QString &text) {
        QStatusTipEvent event(text);
        QCoreApplication::sendEvent(window.view.menuBar(), &event);
    };
    const QString banner = window.status();
    tip(QStringLiteral("Open an existing file"));
    QCOMPARE(window.status(), QStringLiteral("Open an existing file"));
    tip(QString());
    QCOMPARE(window.status(), banner);

    HeldFile held(QStringLiteral("held.dae"));
    tip(QStringLiteral("Open an existing file"));
    window.view.openScene(held.path());
    QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    tip(QString());
    QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    held.deliver(room);
    QTRY_COMPARE(window.status(), banner);
}

void TestCommands::clickedEntriesGiveTheTextBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("checkable") << QStringLiteral("&Outlines");
    QTest::newRow("plain") << QStringLiteral("&Test animation");
    QTest::newRow("with a text of its own") << QStringLiteral("&Fullscreen");
}

void TestCommands::clickedEntriesGiveTheTextBack()
{
    QFETCH(QString, text);
    ViewerWindow window;
    QVERIFY(window.open(room));
    const QString banner = window.status();
    QAction *const entry = action(window.view, text);
    const QPoint place = window.view.menuBar()->actionGeometry(entry).center();
    QTest::mouseMove(window.view.menuBar(), place);
    QTRY_COMPARE(window.status(), entry->statusTip());
    QTest::mouseClick(window.view.menuBar(), Qt::LeftButton, {}, place);
    QTest::mouseMove(window.view.pipeline());
    QTRY_COMPARE(window.status(), banner);
}

// Open dialog

void TestCommands::openDialogOpensWhatIsTyped()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QVERIFY(duringDialog<QFileDialog>(
        [&] { window.view.openScene(); },
        [](QFileDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Open"));
            QCOMPARE(dialog->nameFilters(), QStringList("(*.dae *.xml *.DAE *.XML)"));
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(room);
            QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open),
                              Qt::LeftButton);
        }));
    QTRY_COMPARE(window.title(), QStringLiteral("/room.dae - Quorvel"));
    QCOMPARE(settings().value(lastDirectory).toString(), fixtures);
}

void TestCommands::openDialogStartsInTheLastDirectory()
{
    ViewerWindow window;
    QVERIFY(window.start());
    settings().setValue(lastDirectory, fixtures);
    QVERIFY(duringDialog<QFileDialog>([&] { window.view.openScene(); },
                                      [](QFileDialog *dialog) {
                                          QCOMPARE(dialog->directory().absolutePath(), fixtures);
                                          dialog->reject();
                                      }));
    QCOMPARE(settings().value(lastDirectory).toString(), fixtures);
}

void TestCommands::openDialogForgetsAVanishedDirectory()
{
    ViewerWindow window;
    QVERIFY(window.start());
    settings().setValue(lastDirectory, fixtures + QStringLiteral("/gone"));
    QVERIFY(duringDialog<QFileDialog>([&] { window.view.openScene(); },
                                      [](QFileDialog *dialog) {
                                          QVERIFY(dialog->directory().exists());
                                          dialog->reject();
                                      }));
}

void TestCommands::openDialogStopsTheAnimation()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QVERIFY(window.state().animating());
    QVERIFY(duringDialog<QFileDialog>([&] { window.view.openScene(); },
                                      [&window](QFileDialog *dialog) {
                                          QVERIFY(!window.state().animating());
                                          dialog->reject();
                                      }));
    QVERIFY(!window.state().animating());
}

void TestCommands::noOpenDialogDuringLoad()
{
    ViewerWindow window;
    QVERIFY(window.start());
    HeldFile held(QStringLiteral("held.dae"));
    window.view.openScene(held.path());
    window.view.openScene();
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    held.deliver(room);
    QTRY_VERIFY(window.isIdle());
}

void TestCommands::cancelledOpenDialogShowsTheBanner()
{
    ViewerWindow window;
    QVERIFY(window.start());
    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    QVERIFY(duringDialog<QFileDialog>([&] { window.view.openScene(); },
                                      [](QFileDialog *dialog) { dialog->reject(); }));
    QVERIFY(window.isIdle());
    QVERIFY(window.startScreen());
    QVERIFY(!settings().contains(lastDirectory));
}

// Other dialogs

void TestCommands::painterDialog_data()
{
    QTest::addColumn<bool>("current");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<bool>("painted");
    QTest::newRow("chosen") << true << true << true;
    QTest::newRow("nothing chosen") << false << true << false;
    QTest::newRow("cancelled") << true << false << false;
}

void TestCommands::painterDialog()
{
    QFETCH(bool, current);
    QFETCH(bool, accepted);
    QFETCH(bool, painted);
    ViewerWindow window;
    QVERIFY(window.open(room));
    Pipeline *const pipeline = window.view.pipeline();
    pipeline->setPainterType(Pipeline::NoPainter);
    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    QVERIFY(duringDialog<QDialog>(
        [&] { action(window.view, QStringLiteral("Select painter..."))->trigger(); },
        [&](QDialog *dialog) {
            QVERIFY(dialog->isModal());
            QVERIFY(!dialog->parentWidget());
            auto *const list = dialog->findChild<QListWidget *>();
            QCOMPARE(list->contextMenuPolicy(), Qt::NoContextMenu);
            QCOMPARE(list->count(), 1);
            QCOMPARE(list->item(0)->text(), QStringLiteral("Forward pipeline"));
            list->setCurrentRow(current ? 0 : -1);
            const auto *const box = dialog->findChild<QDialogButtonBox *>();
            QCOMPARE(box->orientation(), Qt::Horizontal);
            QTest::mouseClick(box->button(accepted ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel),
                              Qt::LeftButton);
        }));
    QVERIFY(window.isIdle());
    pipeline->updateGL();
    const QImage picture = pipeline->grabFrameBuffer();
    const QColor pixel = picture.pixelColor(picture.rect().center() + QPoint(60, -60));
    QCOMPARE(pixel, painted ? QColor(51, 204, 51) : QColor(0, 0, 0));
}

void TestCommands::aboutDialog()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QString banner = window.status();
    QVERIFY(duringDialog<QDialog>(
        [&] { action(window.view, QStringLiteral("&About"))->trigger(); },
        [](QDialog *dialog) {
            const QString text = dialog->findChild<QLabel *>()->text();
            for (const char *const part :
                 {"<b>Quorvel</b>", "(v. 1.0b)", "Quorvel is a cross platform 3d-viewer and engine.",
                  "<br><br>zoom: right side of screen or z-key down<br>"
                  "move: double click or x-key down<br>roll: left side of screen"})
                QVERIFY2(text.contains(QLatin1String(part)), part);
            const QList<QPushButton *> buttons = dialog->findChildren<QPushButton *>();
            QCOMPARE(buttons.size(), 2);
            QCOMPARE(buttons[0]->text(), QStringLiteral("&More info"));
            QVERIFY(!buttons[0]->autoDefault());
            QCOMPARE(buttons[1]->text(), QStringLiteral("&Close"));
            QVERIFY(buttons[1]->isDefault());
            const auto *const box = dialog->findChild<QDialogButtonBox *>();
            QCOMPARE(box->orientation(), Qt::Vertical);
            QCOMPARE(box->buttonRole(buttons[0]), QDialogButtonBox::ActionRole);
            QCOMPARE(box->buttonRole(buttons[1]), QDialogButtonBox::ActionRole);
            QTest::mouseClick(buttons[1], Qt::LeftButton);
        }));
    QCOMPARE(window.status(), banner);
    QVERIFY(window.startScreen());
}

void TestCommands::moreInfoOpensTheProductPage()
{
    UrlCatcher browser;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &browser, "open");
    ViewerWindow window;
    QVERIFY(window.start());
    const auto press = [](int button) {
        return [button](QDialog *dialog) {
            QTest::mouseClick(dialog->findChildren<QPushButton *>().at(button), Qt::LeftButton);
        };
    };
    QVERIFY(duringDialog<QDialog>([&] { window.view.showAbout(); }, press(1)));
    QVERIFY(browser.urls.isEmpty());
    QVERIFY(duringDialog<QDialog>([&] { window.view.showAbout(); }, press(0)));
    QCOMPARE(browser.urls, QList<QUrl>({QUrl(QStringLiteral("https://quorvel.org/"))}));
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
}

void TestCommands::keyThatEndedADialogIsNotTheWindows()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    QVERIFY(duringDialog<QDialog>([&] { window.view.showAbout(); },
                                  [](QDialog *dialog) { QTest::keyPress(dialog, Qt::Key_Escape); }));
    QTest::keyRelease(&window.view, Qt::Key_Escape);
    QVERIFY(window.view.isFullScreen());
    QTest::keyClick(&window.view, Qt::Key_Escape);
    QVERIFY(!window.view.isFullScreen());
}

void TestCommands::keyOfAShortcutIsNotTheWindows()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    QTRY_VERIFY(window.view.isActiveWindow());
    // Through the windowing system's queue, which is where shortcuts are found.
    QTest::keyPress(window.view.windowHandle(), Qt::Key_F, Qt::AltModifier);
    QTRY_VERIFY(!window.view.isFullScreen());
    QTest::keyRelease(window.view.windowHandle(), Qt::Key_F);
    QTest::qWait(100);
    QVERIFY(!window.view.isFullScreen());
    QTest::keyClick(window.view.windowHandle(), Qt::Key_F);
    QTRY_VERIFY(window.view.isFullScreen());
}

// Files from elsewhere

void TestCommands::droppedSceneIsOpened()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QMimeData files;
    files.setUrls({QUrl(QStringLiteral("https://example.org/other.dae")), QUrl::fromLocalFile(fixtures),
                   QUrl::fromLocalFile(room)});
    QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton,
                          Qt::NoModifier);
    enter.setDropAction(Qt::MoveAction);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(&window.view, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(QPoint(100, 100), Qt::CopyAction | Qt::MoveAction, &files, Qt::LeftButton,
                    Qt::NoModifier);
    drop.setDropAction(Qt::MoveAction);
    QCoreApplication::sendEvent(&window.view, &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(drop.dropAction(), Qt::CopyAction);
    QTRY_COMPARE(window.title(), QStringLiteral("/room.dae - Quorvel"));
}

void TestCommands::droppedOtherThingsAreRefused_data()
{
    QTest::addColumn<QList<QUrl>>("urls");
    QTest::newRow("text") << QList<QUrl>();
    QTest::newRow("a picture") << QList<QUrl>{
        QUrl::fromLocalFile(QUORVEL_SOURCE_DIR "/docs/pictures/atrium.png")};
    QTest::newRow("a folder") << QList<QUrl>{QUrl::fromLocalFile(fixtures)};
    QTest::newRow("no file of that name") << QList<QUrl>{QUrl::fromLocalFile(room + ".dae")};
    QTest::newRow("from elsewhere") << QList<QUrl>{QUrl(QStringLiteral("https://example.org/room.dae"))};
}

void TestCommands::droppedOtherThingsAreRefused()
{
    QFETCH(QList<QUrl>, urls);
    ViewerWindow window;
    QMimeData data;
    data.setText(QStringLiteral("room.dae"));
    if (!urls.isEmpty())
        data.setUrls(urls);
    QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(&window.view, &enter);
    QVERIFY(!enter.isAccepted());
}

void TestCommands::loadIsSeenToRun()
{
    ViewerWindow window;
    QVERIFY(window.start());
    auto *const indicator = window.view.findChild<LoadIndicator *>();
    QVERIFY(indicator);
    QVERIFY(!indicator->isVisible());
    const int height = window.view.statusBar()->height();

    HeldFile held(QStringLiteral("held.dae"));
    window.view.openScene(held.path());
    QVERIFY(indicator->isVisible());
    QVERIFY(QApplication::overrideCursor());
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::BusyCursor);
    QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    const QImage before = indicator->grab().toImage();
    QTRY_VERIFY(indicator->grab().toImage() != before);
    QCOMPARE(window.view.statusBar()->height(), height);
    QCOMPARE(statusButtons(window.view).size(), 4);
    QCOMPARE(statusButtons(window.view).first()->accessibleName(), QStringLiteral("Back"));
    // Nothing can be dropped meanwhile.
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(room)});
    QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(&window.view, &enter);
    QVERIFY(!enter.isAccepted());

    held.deliver(room);
    QTRY_VERIFY(!indicator->isVisible());
    QVERIFY(!QApplication::overrideCursor());

    // Nor does the pointer stay busy when the window goes first.
    HeldFile second(QStringLiteral("second.dae"));
    {
        ViewerWindow other;
        QVERIFY(other.start());
        other.view.openScene(second.path());
        QVERIFY(QApplication::overrideCursor());
        QTRY_VERIFY(second.isAwaited());
        second.deliver(room);
    }
    QVERIFY(!QApplication::overrideCursor());
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestCommands>(argc, argv);
}

#include "tst_commands.moc"
