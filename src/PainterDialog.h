#pragma once

#include <QDialog>

class QListWidget;

namespace Quorvel
{

/// Asks for one of several painters by their display names.
class PainterDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PainterDialog(const QStringList &painters);

    /// The current name of the list; null when none is current.
    QString choice() const;

private:
    QListWidget *m_list;
};

} // namespace Quorvel
