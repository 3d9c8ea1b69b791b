#include "PlainText.h"

#include <QTextDocument>

#include <algorithm>

namespace manager {

namespace {

bool misleads(QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format: // bidirectional overrides and invisible joiners among them
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

} // namespace

QString shownName(const QString &name)
{
    QString shown = name;
    std::replace_if(shown.begin(), shown.end(), misleads, QChar(QChar::ReplacementCharacter));
    return shown;
}

QString shownTip(const QString &text)
{
    return Qt::mightBeRichText(text) ? text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")) : text;
}

} // namespace manager
