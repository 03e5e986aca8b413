#include "AboutDialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>

namespace Quorvel
{

namespace
{

QString aboutText()
{
    return QStringLiteral("<b>Quorvel</b> (v. 1.0b)"
                          "<br><br>Quorvel is a cross platform 3d-viewer and engine."
                          "<br><br>More about it: <a href=\"%1\">%1</a>"
                          "<br><br>\u00a9 2026 Quorvel Project"
                          "<br><br>zoom: right side of screen or z-key down"
                          "<br>move: double click or x-key down"
                          "<br>roll: left side of screen")
        .arg(AboutDialog::productPage().toString());
}

} // namespace

AboutDialog::AboutDialog()
{
    setWindowTitle(tr("About Quorvel"));

    auto *const text = new QLabel(aboutText());
    text->setTextFormat(Qt::RichText);
    text->setOpenExternalLinks(true);

    auto *const moreInfo = new QPushButton(QStringLiteral("&More info"));
    moreInfo->setAutoDefault(false);
    auto *const closing = new QPushButton(QStringLiteral("&Close"));
    closing->setDefault(true);
    auto *const buttons = new QDialogButtonBox(Qt::Vertical);
    buttons->addButton(moreInfo, QDialogButtonBox::ActionRole);
    buttons->addButton(closing, QDialogButtonBox::ActionRole);
    connect(moreInfo, &QPushButton::clicked, this, &QDialog::accept);
    connect(closing, &QPushButton::clicked, this, &QDialog::reject);

    auto *const grid = new QGridLayout;
    grid->addWidget(text, 0, 0);
    grid->addWidget(buttons, 0, 1, Qt::AlignBottom);
    setLayout(grid);
    closing->setFocus();
    adjustSize();
}

QUrl AboutDialog::productPage()
{
    return QUrl(QStringLiteral("https://quorvel.org/"));
}

} // namespace Quorvel
