#pragma once

#include <QWidget>

#include <array>

class QSignalMapper;
class QToolButton;

namespace Quorvel
{

/// What the window shows while no scene is open: thumbnails of the built-in samples above the drawing
/// surface, on which the logo spins.
class StartScreen : public QWidget
{
    Q_OBJECT

public:
    static constexpr int thumbnailCount = 5;

    /// Takes the drawing surface into its grid. Whoever discards the screen moves the surface out before.
    StartScreen(QWidget *viewport, QWidget *parent);

    /// Clicks a thumbnail, from 0, as a key does: it is seen pressed for a tenth of a second.
    void press(int thumbnail);
    /// The scene of a thumbnail that is seen pressed by press(); empty when there is none.
    QString pressedScene() const;

signals:
    void sceneChosen(const QString &filename);

private:
    std::array<QToolButton *, thumbnailCount> m_thumbnails;
    /// The last one that press() was called for; -1 once it has clicked.
    int m_pressed = -1;
};

} // namespace Quorvel
