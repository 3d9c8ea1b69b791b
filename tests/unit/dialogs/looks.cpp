#include "looks.h"

#include "elidedlabel.h"

#include <QAbstractButton>
#include <QDir>
#include <QVariant>
#include <QWidget>

namespace {

bool mustShowAll(const QWidget &widget)
{
    const auto *label = qobject_cast<const QLabel *>(&widget);
    return qobject_cast<const QAbstractButton *>(&widget) != nullptr ||
           (label != nullptr && !label->wordWrap() && dynamic_cast<const ElidedLabel *>(label) == nullptr);
}

QString describe(const QWidget &widget)
{
    const QString text = widget.property("text").toString();
    return QStringLiteral("%1 \"%2\" %3x%4 at %5,%6")
        .arg(QLatin1String(widget.metaObject()->className()), text)
        .arg(widget.width())
        .arg(widget.height())
        .arg(widget.x())
        .arg(widget.y());
}

bool isLeaf(const QWidget &widget)
{
    return widget.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).isEmpty();
}

} // namespace

QStringList faultsOf(const QWidget &window)
{
    QStringList faults;
    QList<QWidget *> leaves;
    const auto children = window.findChildren<QWidget *>();
    for (QWidget *child : children) {
        if (child->isVisible() && isLeaf(*child))
            leaves.append(child);
    }
    const auto place = [&window](const QWidget *widget) {
        return QRect(widget->mapTo(&window, QPoint()), widget->size());
    };
    for (int i = 0; i < leaves.size(); ++i) {
        const QWidget &leaf = *leaves[i];
        if (!window.rect().contains(place(&leaf)))
            faults << QStringLiteral("reaches out: ") + describe(leaf);
        if (mustShowAll(leaf) && leaf.width() < leaf.sizeHint().width())
            faults << QStringLiteral("too narrow: ") + describe(leaf);
        if (leaf.height() < leaf.minimumSizeHint().height())
            faults << QStringLiteral("too low: ") + describe(leaf);
        if (leaf.hasHeightForWidth() && leaf.height() < leaf.heightForWidth(leaf.width()))
            faults << QStringLiteral("text cut: ") + describe(leaf);
        for (int k = i + 1; k < leaves.size(); ++k) {
            if (place(&leaf).intersects(place(leaves[k])))
                faults << QStringLiteral("overlaps: %1 and %2").arg(describe(leaf), describe(*leaves[k]));
        }
    }
    return faults;
}

void keepPicture(QWidget &window, const QString &name)
{
    const QString folder = qEnvironmentVariable("BTFTP_BUILD_DIR", QDir::tempPath()) + QStringLiteral("/pictures");
    QDir().mkpath(folder);
    window.grab().save(QStringLiteral("%1/%2.png").arg(folder, name));
}

QString BracketTranslator::translate(const char *, const char *text, const char *, int) const
{
    return QStringLiteral("[%1]").arg(QString::fromUtf8(text));
}
