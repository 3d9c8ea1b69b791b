#ifndef TESTS_DIALOGS_LOOKS_H
#define TESTS_DIALOGS_LOOKS_H

#include <QStringList>
#include <QTranslator>

class QWidget;

/** What is wrong with a window's looks: buttons and fixed labels narrower than their text, widgets that overlap or
 *  reach out of the window. Empty when nothing is. */
QStringList faultsOf(const QWidget &window);

/** Keeps a picture of the window below the build folder, for people to look at. */
void keepPicture(QWidget &window, const QString &name);

/** Translates every text to itself in brackets, so that a text that was not translated again shows. */
class BracketTranslator : public QTranslator
{
public:
    QString translate(const char *, const char *text, const char *, int) const override;
    bool isEmpty() const override { return false; }
};

#endif
