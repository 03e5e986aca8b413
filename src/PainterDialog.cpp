#include "PainterDialog.h"

#include <QDialogButtonBox>
#include <QListWidget>
#include <QVBoxLayout>

namespace Quorvel
{

PainterDialog::PainterDialog(const QStringList &painters) : m_list(new QListWidget)
{
    setWindowTitle(tr("Select painter"));
    setModal(true);
    m_list->setContextMenuPolicy(Qt::NoContextMenu);
    m_list->addItems(painters);
    m_list->setAccessibleName(tr("Painters"));
    connect(m_list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);

    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *const column = new QVBoxLayout;
    column->addWidget(m_list);
    column->addWidget(buttons);
    setLayout(column);
    adjustSize();
}

QString PainterDialog::choice() const
{
    const QListWidgetItem *const item = m_list->currentItem();
    return item ? item->text() : QString();
}

} // namespace Quorvel
