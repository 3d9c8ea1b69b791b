#ifndef MYMIME_H
#define MYMIME_H

#include <QMimeData>

/** The payload of a drag that starts in a pane: a type of its own, with the base class's behaviour. */
class MyMimeData : public QMimeData
{
    Q_OBJECT

public:
    /** Marks a payload as coming from a remote pane; its data is the text "1". */
    static QString remoteFormat();

    QStringList formats() const override;
    bool hasFormat(const QString &mimeType) const override;

protected:
    QVariant retrieveData(const QString &mimeType, QVariant::Type type) const override;
};

#endif
