#pragma once

#include <QDialog>

class QUrl;

namespace Quorvel
{

/// Says what the program is and how it is used. Accepted when the person wants to read more.
class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    AboutDialog();

    /// Where there is more to read.
    static QUrl productPage();
};

} // namespace Quorvel
