#pragma once

#include <QToolButton>

namespace Quorvel
{

/// A button that is all picture: it may shrink to its icon, and shows pointer, focus and press on top of it.
class ThumbnailButton : public QToolButton
{
    Q_OBJECT

public:
    explicit ThumbnailButton(QWidget *parent = nullptr);

    QSize minimumSizeHint() const override { return iconSize(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Quorvel
