#include "JoinRequestDialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>

#include <algorithm>

namespace Quorvel
{

namespace
{

/// What could break the line or turn the rest of the question around.
bool isDisruptive(QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString displayable(const QString &text)
{
    constexpr int longest = 100;
    QString shown = text.left(longest);
    if (shown.size() < text.size() && shown.at(longest - 1).isHighSurrogate())
        shown.chop(1);
    std::replace_if(shown.begin(), shown.end(), isDisruptive, QLatin1Char(' '));
    if (text.size() > longest)
        shown += QChar(0x2026);
    return shown;
}

} // namespace

JoinRequestDialog::JoinRequestDialog(QWidget *view, const QString &user)
{
    setWindowTitle(QStringLiteral("Shared session"));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, Qt::Horizontal);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *question = new QLabel(QStringLiteral("Accept user ") + displayable(user) +
                                QStringLiteral(" to join this shared session?"));
    question->setTextFormat(Qt::PlainText);

    auto *layout = new QGridLayout;
    layout->addWidget(question, 0, 0);
    layout->addWidget(buttons, 1, 0);
    // Quirk(layout-offered-again): the main window is offered the layout first and declines it with a
    // warning; kept, as in the dialog for joining, for whoever reads the log.
    view->setLayout(layout);
    setLayout(layout);
}

} // namespace Quorvel
