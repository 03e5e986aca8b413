#include "ViewCommands.h"

#include "MainView.h"

#include <QAction>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolButton>

namespace Quorvel
{

namespace
{

template <typename Slot>
QAction *addAction(MainView *view, const char *text, const char *statusTip, Slot slot)
{
    auto *const action = new QAction(QString::fromLatin1(text), view);
    action->setStatusTip(QString::fromLatin1(statusTip));
    QObject::connect(action, &QAction::triggered, view, slot);
    return action;
}

template <typename Slot>
QAction *addOption(MainView *view, const char *text, const char *statusTip, Slot slot, bool checked)
{
    QAction *const action = addAction(view, text, statusTip, slot);
    action->setCheckable(true);
    action->setChecked(checked);
    return action;
}

struct StatusButton
{
    const char *icon;
    const char *name;
    const char *toolTip;
    void (MainView::*slot)();
    /// Where it is inserted among those before it in the table, or at the end where there are fewer.
    int index;
};

const StatusButton statusButtons[] = {
    {"fileopen", "Open", "Open a scene file (Ctrl+O)", &MainView::openScene, 1},
    {"player_play", "Test animation", "Start or stop the test animation", &MainView::toggleTestAnimation, 2},
    {"view_nofullscreen", "Full screen", "Full screen on or off (F)", &MainView::toggleFullscreen, 3},
    {"back", "Back", "Back to the start screen (B)", &MainView::showStartScreen, 0},
};

} // namespace

void ViewCommands::addActions(MainView *view, bool lowQualityInteraction)
{
    QAction *const open =
        addAction(view, "&Open", "Open an existing file", qOverload<>(&MainView::openScene));
    open->setShortcut(QKeySequence::Open);
    QAction *const join =
        addAction(view, "&Join shared session", "Join shared session", &MainView::joinSharedSession);
    // Quirk(actions-without-menu): leaving, the painter and four rendering options are in no menu;
    // the bar holds what is used while looking at a scene, the others wait for a place.
    addAction(view, "&Exit", "Exit from application", &MainView::close);
    QAction *const about = addAction(view, "&About", "Show information about Quorvel", &MainView::showAbout);
    about->setShortcut(QKeySequence::HelpContents);
    addAction(view, "Select painter...", "Select painter engine that renders the viewport",
              &MainView::selectPipeline);
    addOption(view, "&Backface culling", "Toggle backface culling", &MainView::toggleBackfaceCulling, true);
    addOption(view, "&Cast shadows", "Cast shadows", &MainView::toggleCastShadows, true);
    // Quirk(tip-ampersand): these status tips repeat the menu text, ampersand included;
    // they are known in this form.
    addOption(view, "&Ambient occlusion", "&Ambient occlusion", &MainView::toggleAmbientOcclusion, false);
    addOption(view, "&Low quality", "&Low quality", &MainView::toggleLowQuality, lowQualityInteraction);
    QAction *const outlines = addOption(view, "&Outlines", "&Outlines", &MainView::toggleOutlines, false);
    QAction *const animation =
        addAction(view, "&Test animation", "&Run test animation", &MainView::toggleTestAnimation);
    QAction *const fullscreen =
        addAction(view, "&Fullscreen", "&Toggle fullscreen", &MainView::toggleFullscreen);
    fullscreen->setCheckable(false);

    QMenuBar *const menu = view->menuBar();
    menu->addAction(open);
    menu->addAction(join);
    menu->addSeparator();
    menu->addSeparator();
    menu->addAction(outlines);
    menu->addSeparator();
    menu->addAction(fullscreen);
    menu->addAction(animation);
    menu->addSeparator();
    menu->addAction(about);
}

void ViewCommands::addStatusButtons(MainView *view)
{
    int count = 0;
    for (const StatusButton &entry : statusButtons) {
        auto *const button = new QToolButton(view);
        button->setIcon(QIcon(QStringLiteral(":/icons/%1.png").arg(QLatin1String(entry.icon))));
        button->setAccessibleName(QString::fromLatin1(entry.name));
        button->setToolTip(QString::fromLatin1(entry.toolTip));
        QObject::connect(button, &QToolButton::clicked, view, entry.slot);
        view->statusBar()->insertPermanentWidget(qMin(entry.index, count), button);
        ++count;
    }
}

} // namespace Quorvel
