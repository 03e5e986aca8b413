#pragma once

#include <QDialog>

namespace Quorvel
{

/// Asks whether another user may join the shared session.
class JoinRequestDialog : public QDialog
{
    Q_OBJECT

public:
    /// A window of its own. `view` is the main window that it is opened from; `user` is text from the
    /// network, shown as plain text, control characters as blanks, and cut short after a hundred characters.
    JoinRequestDialog(QWidget *view, const QString &user);
};

} // namespace Quorvel
