#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QtTest>

namespace Quorvel
{

/// The picture that a source gives once it has given nothing else for a second: by then a dialog's remains
/// are painted over, and the quality is full again. Whatever it gives last when patience (milliseconds) ends.
template <typename Source>
QImage stillPicture(Source source, int patience)
{
    QImage last = source();
    QElapsedTimer steady;
    steady.start();
    const bool isStill = QTest::qWaitFor(
        [&] {
            const QImage now = source();
            if (now != last) {
                last = now;
                steady.restart();
            }
            return steady.elapsed() > 1000;
        },
        patience);
    if (!isStill)
        qWarning("the picture did not come to rest");
    return last;
}

} // namespace Quorvel
