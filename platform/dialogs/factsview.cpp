#include "factsview.h"

#include "elidedlabel.h"
#include "texts.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFrame>
#include <QGridLayout>
#include <QIcon>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int kIconSize = 48;
constexpr int kWidthInCharacters = 64;

} // namespace

FactsView::FactsView(QDialog *dialog, int rows)
    : QWidget(dialog),
      m_dialog(dialog),
      m_icon(new QLabel(this)),
      m_title(new ElidedLabel(Qt::ElideMiddle, this)),
      m_note(new QLabel(this)),
      m_close(nullptr)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(createHeader());
    auto *line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);
    auto *grid = new QGridLayout;
    createRows(grid, rows);
    layout->addLayout(grid);
    m_note->setTextFormat(Qt::PlainText);
    m_note->setWordWrap(true);
    m_note->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_note->setObjectName(QStringLiteral("note"));
    m_note->hide();
    layout->addWidget(m_note);
    layout->addStretch(1);
    createButtons();

    auto *outer = new QVBoxLayout(dialog);
    outer->addWidget(this);
    dialog->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setMinimumWidth(fontMetrics().averageCharWidth() * kWidthInCharacters);
    m_close->setFocus();
}

QWidget *FactsView::createHeader()
{
    auto *header = new QWidget(this);
    auto *layout = new QHBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    m_icon->setFixedSize(kIconSize, kIconSize);
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_title->setObjectName(QStringLiteral("title"));
    layout->addWidget(m_icon);
    layout->addWidget(m_title, 1);
    return header;
}

void FactsView::createRows(QGridLayout *grid, int count)
{
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(grid->horizontalSpacing() * 2);
    for (int i = 0; i < count; ++i) {
        Row row = {new QLabel(this), new ElidedLabel(Qt::ElideMiddle, this)};
        row.label->setTextFormat(Qt::PlainText);
        row.value->makeCopyable();
        grid->addWidget(row.label, i, 0);
        grid->addWidget(row.value, i, 1);
        m_rows.append(row);
    }
}

void FactsView::createButtons()
{
    auto *buttons = new QDialogButtonBox(this);
    QObject::connect(buttons, &QDialogButtonBox::rejected, m_dialog, &QDialog::reject);
    // Not a standard button: the box would take the mnemonic away at every change of language.
    m_close = new QPushButton(buttons);
    buttons->addButton(m_close, QDialogButtonBox::RejectRole);
    m_close->setObjectName(QStringLiteral("close"));
    m_close->setDefault(true);
    layout()->addWidget(buttons);
}

void FactsView::setIcon(const QString &path)
{
    const QIcon icon(path);
    m_icon->setPixmap(icon.pixmap(kIconSize, kIconSize));
    m_dialog->setWindowIcon(icon);
}

void FactsView::setTitle(const QString &title)
{
    m_title->setLine(title);
}

void FactsView::setLabel(int row, const QString &label)
{
    m_rows[row].label->setText(label);
    // Read out with its label, for the value alone ("127.0.0.1") says little.
    m_rows[row].value->setAccessibleDescription(label);
}

void FactsView::setValue(int row, const QString &value)
{
    const bool appears = m_rows[row].value->isHidden() && !value.isEmpty();
    m_rows[row].value->setLine(value);
    m_rows[row].label->setVisible(!value.isEmpty());
    m_rows[row].value->setVisible(!value.isEmpty());
    if (appears)
        makeRoom();
}

void FactsView::setNote(const QString &note)
{
    if (note == m_note->text())
        return;
    m_note->setText(note);
    m_note->setVisible(!note.isEmpty());
    makeRoom();
}

void FactsView::makeRoom()
{
    if (!m_dialog->isVisible())
        return;
    layout()->activate();
    QLayout *outer = m_dialog->layout();
    const int needed = outer->totalHeightForWidth(m_dialog->width());
    if (needed > m_dialog->height())
        m_dialog->resize(m_dialog->width(), needed);
}

void FactsView::retranslate()
{
    m_close->setText(QCoreApplication::translate("Dialogs", "&Close"));
    for (const Row &row : qAsConst(m_rows))
        row.value->retranslate();
    m_note->setAccessibleName(QCoreApplication::translate("Dialogs", "What went wrong last"));
}
