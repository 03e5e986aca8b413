#pragma once

#include "JoinSessionDialog.h"
#include "SessionPeer.h"
#include "SharedSession.h"
#include "StillPicture.h"
#include "ViewerWindow.h"
#include "Wall.h"

#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>

#include <functional>

namespace Quorvel
{

constexpr int patience = 20000; // milliseconds

/// Answers each dialog of a class that comes up, as long as this object lives: once it has the keys, as a
/// person would. Of a dialog that ends sooner the window manager may hand the keys to nobody.
template <typename Dialog>
class Answering
{
public:
    /// The answer gets the dialog and how many were answered before. It is asked again until it says that it
    /// has ended the dialog, or for as long as a test waits.
    explicit Answering(const std::function<bool(Dialog *, int)> &answer)
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this, answer] {
            auto *const dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isActiveWindow())
                return;
            if (answer(dialog, m_count))
                ++m_count;
            else if (m_age.hasExpired(patience))
                dialog->reject();
        });
        m_timer.start(20);
        m_age.start();
    }

    int count() const { return m_count; }

private:
    QTimer m_timer;
    QElapsedTimer m_age;
    int m_count = 0;
};

inline void click(QDialog *dialog, QDialogButtonBox::StandardButton button)
{
    dialog->findChild<QDialogButtonBox *>()->button(button)->click();
}

inline QLineEdit *fieldAt(const QDialog *dialog, int row)
{
    const auto *const layout = qobject_cast<QGridLayout *>(dialog->layout());
    return qobject_cast<QLineEdit *>(layout->itemAtPosition(row, 1)->widget());
}

/// A window and the server's end of its session.
struct JoinedWindow : ViewerWindow
{
    SharedSession *session() const { return view.findChild<SharedSession *>(); }

    /// Through the dialog, as far as the join request.
    bool ask()
    {
        const Answering<JoinSessionDialog> answering([](JoinSessionDialog *dialog, int) {
            click(dialog, QDialogButtonBox::Ok);
            return true;
        });
        view.joinSharedSession();
        return QTest::qWaitFor([this] { return peer.accept(); }, patience) && takeFrame() && frame.kind == 3;
    }
    bool join() { return ask() && activate(); }
    bool activate()
    {
        peer.send(SessionPeer::frame(1, SessionPeer::utf16("7")));
        return QTest::qWaitFor([this] { return session()->isActive(); }, patience);
    }

    bool takeFrame()
    {
        return QTest::qWaitFor([this] { return peer.takeFrame(&frame); }, patience);
    }
    void send(int kind, const QByteArray &data)
    {
        const QByteArray bytes =
            SessionPeer::frame(kind, SessionPeer::utf16("8"), SessionPeer::utf16("Jo"), data);
        for (int at = 0; at < bytes.size();)
            at += peer.send(bytes.mid(at));
    }
    void dragBy(const QPoint &delta)
    {
        press({400, 300});
        moveTo(QPoint(400, 300) + delta);
        release(QPoint(400, 300) + delta);
    }

    /// Opens a file from the viewport, and waits until it is shown.
    bool openNext(const QString &filename)
    {
        view.openScene(filename);
        const QString title = MainView::displayName(filename) + QStringLiteral(" - Quorvel");
        return QTest::qWaitFor([this, title] { return view.windowTitle() == title; }, patience);
    }

    /// What the screen shows of the drawing surface.
    Wall wall() const
    {
        const QRect place(view.pipeline()->mapToGlobal(QPoint()), view.pipeline()->size());
        return Wall(QGuiApplication::primaryScreen()->grabWindow(0).toImage().copy(place));
    }
    /// The same, at rest.
    Wall stillWall() const
    {
        return Wall(stillPicture([this] { return wall().image; }, patience));
    }

    SessionPeer peer{SharedSession::DefaultPort};
    SessionPeer::Frame frame;
};

} // namespace Quorvel
