#include "ThumbnailButton.h"

#include <QPainter>

namespace Quorvel
{

ThumbnailButton::ThumbnailButton(QWidget *parent) : QToolButton(parent)
{
    setAutoRaise(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ThumbnailButton::paintEvent(QPaintEvent *event)
{
    QToolButton::paintEvent(event);
    if (!isDown() && !hasFocus() && !underMouse())
        return;
    constexpr int frame = 3; // pixels
    QPainter painter(this);
    QColor color = palette().color(QPalette::Highlight);
    painter.setPen(QPen(color, frame, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    color.setAlpha(isDown() ? 96 : 0);
    painter.setBrush(color);
    painter.drawRect(QRectF(rect()).adjusted(frame / 2.0, frame / 2.0, -frame / 2.0, -frame / 2.0));
}

} // namespace Quorvel
