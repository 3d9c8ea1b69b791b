#include "ComProgressDlg.h"

#include "elidedlabel.h"
#include "texts.h"
#include "transferprogress.h"

#include <QCloseEvent>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int kFrameInterval = 40;     ///< milliseconds between two repaints of what moves with every report
constexpr int kReadingInterval = 1000; ///< of what would jump too fast to be read
constexpr int kWidthInCharacters = 72;
constexpr uint kLongestName = 4096; ///< bytes of a name that are looked at
constexpr quint8 kCancel = 1;

} // namespace

class ComProgressDlgPrivate
{
public:
    ComProgressDlgPrivate(ComProgressDlg *dialog, const QString &source, const QString &destination);

    void report(bool first, bool last, const QString &name, quint32 size, quint32 moved);
    bool askToCancel();
    void retranslate();

private:
    static QString tr(const char *text) { return ComProgressDlg::tr(text); }
    void createLayout();
    void reserveButtonWidth();
    void showSoon();
    void showProgress();
    void showReading();
    QString amountText() const;
    QString paceText() const;

    ComProgressDlg *m_dialog;
    TransferProgress m_progress;
    QElapsedTimer m_clock;
    QTimer m_frame;
    QTimer m_reading;
    bool m_cancelling = false;

    ElidedLabel *m_name;
    ElidedLabel *m_count;
    QLabel *m_sourceLabel;
    QLabel *m_destinationLabel;
    ElidedLabel *m_source;
    ElidedLabel *m_destination;
    QProgressBar *m_bar;
    ElidedLabel *m_amount;
    ElidedLabel *m_pace;
    QPushButton *m_cancel;
};

ComProgressDlgPrivate::ComProgressDlgPrivate(ComProgressDlg *dialog, const QString &source, const QString &destination)
    : m_dialog(dialog),
      m_name(new ElidedLabel(Qt::ElideMiddle, dialog)),
      m_count(new ElidedLabel(Qt::ElideRight, dialog)),
      m_sourceLabel(new QLabel(dialog)),
      m_destinationLabel(new QLabel(dialog)),
      m_source(new ElidedLabel(Qt::ElideMiddle, dialog)),
      m_destination(new ElidedLabel(Qt::ElideMiddle, dialog)),
      m_bar(new QProgressBar(dialog)),
      m_amount(new ElidedLabel(Qt::ElideRight, dialog)),
      m_pace(new ElidedLabel(Qt::ElideRight, dialog)),
      m_cancel(new QPushButton(dialog))
{
    m_clock.start();
    m_frame.setSingleShot(true);
    m_frame.setInterval(kFrameInterval);
    m_reading.setInterval(kReadingInterval);
    QObject::connect(&m_frame, &QTimer::timeout, dialog, [this] { showProgress(); });
    QObject::connect(&m_reading, &QTimer::timeout, dialog, [this] { showReading(); });
    QObject::connect(m_cancel, &QPushButton::clicked, dialog, &ComProgressDlg::reject);
    m_reading.start();

    m_source->setLine(source);
    m_destination->setLine(destination);
    // Enter must not cancel by accident: the button has the focus and takes Space, its mnemonic and Escape.
    m_cancel->setAutoDefault(false);
    createLayout();
    retranslate();
    m_cancel->setFocus();
    dialog->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    dialog->setMinimumWidth(dialog->fontMetrics().averageCharWidth() * kWidthInCharacters / 2);
    dialog->resize(dialog->fontMetrics().averageCharWidth() * kWidthInCharacters, dialog->sizeHint().height());
}

void ComProgressDlgPrivate::createLayout()
{
    // The names are for tests and for tools that drive the desktop.
    m_name->setObjectName(QStringLiteral("fileName"));
    m_count->setObjectName(QStringLiteral("fileCount"));
    m_source->setObjectName(QStringLiteral("source"));
    m_destination->setObjectName(QStringLiteral("destination"));
    m_bar->setObjectName(QStringLiteral("progress"));
    m_amount->setObjectName(QStringLiteral("amount"));
    m_pace->setObjectName(QStringLiteral("pace"));
    m_cancel->setObjectName(QStringLiteral("cancel"));

    QFont bold = m_name->font();
    bold.setBold(true);
    m_name->setFont(bold);
    m_count->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_pace->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_bar->setRange(0, 1000);

    auto *layout = new QVBoxLayout(m_dialog);
    auto *heading = new QHBoxLayout;
    heading->addWidget(m_name, 4);
    heading->addWidget(m_count, 1);
    auto *folders = new QGridLayout;
    folders->setColumnStretch(1, 1);
    folders->addWidget(m_sourceLabel, 0, 0);
    folders->addWidget(m_source, 0, 1);
    folders->addWidget(m_destinationLabel, 1, 0);
    folders->addWidget(m_destination, 1, 1);
    auto *numbers = new QHBoxLayout;
    numbers->addWidget(m_amount, 1);
    numbers->addWidget(m_pace, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cancel);

    layout->addLayout(heading);
    layout->addLayout(folders);
    layout->addWidget(m_bar);
    layout->addLayout(numbers);
    layout->addStretch(1);
    layout->addLayout(buttons);
}

void ComProgressDlgPrivate::report(bool first, bool last, const QString &name, quint32 size, quint32 moved)
{
    m_progress.report(first, last, name, size, moved, m_clock.elapsed());
    showSoon();
}

/** @return false when the user has asked already */
bool ComProgressDlgPrivate::askToCancel()
{
    if (m_cancelling)
        return false;
    m_cancelling = true;
    m_cancel->setText(tr("Cancelling..."));
    m_cancel->setEnabled(false);
    return true;
}

void ComProgressDlgPrivate::retranslate()
{
    m_sourceLabel->setText(tr("From:"));
    m_destinationLabel->setText(tr("To:"));
    m_source->setAccessibleDescription(tr("The folder that is copied from"));
    m_destination->setAccessibleDescription(tr("The folder that is copied to"));
    m_name->setAccessibleDescription(tr("The file that is being copied"));
    m_bar->setAccessibleName(tr("Progress of the file"));
    m_amount->setAccessibleDescription(tr("Bytes copied"));
    m_pace->setAccessibleDescription(tr("Speed and time left"));
    reserveButtonWidth();
    showProgress();
    showReading();
}

void ComProgressDlgPrivate::reserveButtonWidth()
{
    const QString texts[] = {tr("&Cancel"), tr("Cancelling...")};
    int width = 0;
    m_cancel->setMinimumWidth(0);
    for (const QString &text : texts) {
        m_cancel->setText(text);
        width = qMax(width, m_cancel->sizeHint().width());
    }
    m_cancel->setMinimumWidth(width);
    m_cancel->setText(texts[m_cancelling ? 1 : 0]);
}

/** Reports may come by the thousand; the eye needs 25 a second. */
void ComProgressDlgPrivate::showSoon()
{
    if (!m_frame.isActive())
        m_frame.start();
}

void ComProgressDlgPrivate::showProgress()
{
    const bool started = m_progress.fileNumber() > 0;
    const bool busy = started && !m_progress.isSizeKnown();
    const QString name = m_progress.fileName();
    m_name->setLine(!started ? tr("Starting...") : name.isNull() ? tr("A file whose name is not known") : name);
    m_count->setLine(m_progress.fileNumber() > 1 ? tr("File %1").arg(m_progress.fileNumber()) : QString());
    m_bar->setRange(0, busy ? 0 : 1000);
    const int percent = m_progress.permille() / 10;
    m_dialog->setWindowTitle(started && !busy ? tr("%1% - File Transfer").arg(percent) : tr("File Transfer"));
    if (!busy) {
        // Left to itself the bar draws at once, a pass of its own, and not at all for a step of under 1 %, though the
        // text may change with it. This way it is drawn with everything else.
        m_bar->setUpdatesEnabled(false);
        m_bar->setValue(m_progress.permille());
        m_bar->setUpdatesEnabled(true);
    }
    m_amount->setLine(amountText());
}

void ComProgressDlgPrivate::showReading()
{
    m_progress.tick(m_clock.elapsed());
    m_pace->setLine(paceText());
}

QString ComProgressDlgPrivate::amountText() const
{
    if (m_progress.fileNumber() == 0)
        return QString();
    if (m_progress.isScaled())
        return tr("%1% of more than %2").arg(m_progress.permille() / 10).arg(texts::size(Q_UINT64_C(4) << 30));
    if (!m_progress.isSizeKnown())
        return texts::size(m_progress.moved());
    return tr("%1 of %2").arg(texts::size(m_progress.moved()), texts::size(m_progress.size()));
}

QString ComProgressDlgPrivate::paceText() const
{
    if (m_progress.isStalled(m_clock.elapsed()))
        return tr("Waiting for the device...");
    const bool rateKnown = m_progress.rate() >= 0 && !m_progress.isScaled();
    const QString rate = rateKnown ? texts::rate(m_progress.rate()) : QString();
    const qint64 seconds = m_progress.secondsLeft();
    if (seconds < 0)
        return rate;
    const QString left = texts::timeLeft(seconds);
    return rate.isEmpty() ? left : tr("%1 - %2").arg(rate, left);
}

ComProgressDlg::ComProgressDlg(QString &source, QString &destination, QWidget *parent)
    : QDialog(parent), d(new ComProgressDlgPrivate(this, source, destination))
{
}

ComProgressDlg::~ComProgressDlg()
{
    delete d;
}

void ComProgressDlg::slotProcTransStatus(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize)
{
    const char *bytes = reinterpret_cast<const char *>(filename);
    const QString name = bytes ? QString::fromUtf8(bytes, static_cast<int>(qstrnlen(bytes, kLongestName))) : QString();
    d->report(first != 0, last != 0, name, filesize, cursize);
}

void ComProgressDlg::reject()
{
    if (d->askToCancel())
        emit userActionInd(kCancel);
}

void ComProgressDlg::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        d->retranslate();
    QDialog::changeEvent(event);
}

void ComProgressDlg::closeEvent(QCloseEvent *event)
{
    event->ignore();
    reject();
}
