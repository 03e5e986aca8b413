#include "StartScreen.h"

#include "ThumbnailButton.h"

#include <QGridLayout>
#include <QSignalMapper>

namespace Quorvel
{

namespace
{

constexpr int pressTime = 100; // milliseconds

struct Sample
{
    QLatin1String name;
    /// What a person calls it.
    QLatin1String title;
    char key;

    QString thumbnail() const { return QStringLiteral(":/icons/demo_thumbnails/%1.png").arg(name); }
    QString scene() const { return QStringLiteral(":/models/%1.DAE").arg(name); }
};

const Sample samples[StartScreen::thumbnailCount] = {
    {QLatin1String("bedroom"), QLatin1String("Bedroom"), 'A'},
    {QLatin1String("spiral"), QLatin1String("Spiral"), 'S'},
    {QLatin1String("quorvel"), QLatin1String("Quorvel"), 'D'},
    {QLatin1String("microscope"), QLatin1String("Microscope"), 'F'},
    {QLatin1String("objects"), QLatin1String("Objects"), 'G'},
};

} // namespace

StartScreen::StartScreen(QWidget *viewport, QWidget *parent) : QWidget(parent)
{
    auto *const mapper = new QSignalMapper(this);
    auto *const grid = new QGridLayout;
    // Five thumbnails are as wide as the window starts: without gaps they fit.
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    grid->setRowStretch(1, 1);
    for (int i = 0; i < thumbnailCount; ++i) {
        const Sample &sample = samples[i];
        auto *const button = new ThumbnailButton(this);
        button->setIconSize(QSize(128, 86));
        button->setIcon(QIcon(sample.thumbnail()));
        button->setAccessibleName(sample.title);
        button->setToolTip(tr("Open the sample \u201c%1\u201d (%2)").arg(sample.title).arg(sample.key));
        mapper->setMapping(button, sample.scene());
        connect(button, &QToolButton::clicked, this, [this] { m_pressed = -1; });
        connect(button, &QToolButton::clicked, mapper, qOverload<>(&QSignalMapper::map));
        grid->addWidget(button, 0, i);
        m_thumbnails[size_t(i)] = button;
    }
    connect(mapper, &QSignalMapper::mappedString, this, &StartScreen::sceneChosen);
    grid->addWidget(viewport, 1, 0, 1, thumbnailCount);
    setLayout(grid);
}

void StartScreen::press(int thumbnail)
{
    m_pressed = thumbnail;
    m_thumbnails[size_t(thumbnail)]->animateClick(pressTime);
}

QString StartScreen::pressedScene() const
{
    return m_pressed >= 0 ? samples[m_pressed].scene() : QString();
}

} // namespace Quorvel
