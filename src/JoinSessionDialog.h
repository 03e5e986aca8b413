#pragma once

#include <QDialog>

class QLineEdit;

namespace Quorvel
{

/// Asks which shared session to join: server, user name and session number.
///
/// Starts with what was stored last: keys "server" and "username" of group "SharedSessions" in the settings
/// of the application object's organisation and name, so those must be set before. The session number is not
/// stored.
class JoinSessionDialog : public QDialog
{
    Q_OBJECT

public:
    /// A window of its own. `view` is the main window that it is opened from.
    explicit JoinSessionDialog(QWidget *view);

    QString server() const;
    QString userName() const;
    /// From 11111 to 99999 once the dialog is accepted.
    QString sessionNumber() const;

    /// Stores server and user name for the next time.
    void store() const;

private:
    QLineEdit *m_server;
    QLineEdit *m_userName;
    QLineEdit *m_sessionNumber;
};

} // namespace Quorvel
