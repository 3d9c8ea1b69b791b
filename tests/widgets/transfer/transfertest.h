#ifndef TRANSFERTEST_H
#define TRANSFERTEST_H

#include "../window/windowtest.h"
#include "modals.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QStatusBar>

#include <unistd.h>

/** A connected window with files of the test's own in its local pane. */
class TransferTest : public WindowTest
{
    Q_OBJECT

protected:
    QString path(const QString &name) const { return localFolder() + QLatin1Char('/') + name; }

    void makeFile(const QString &name, const QByteArray &content = "x") const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path(name)));
        file.write(content);
    }

    static QByteArray contentOf(const QString &file)
    {
        QFile opened(file);
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray("cannot be read");
    }

    void listLocal() { QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, localFolder()))); }
    /** Triggers an action of the window, whether or not the state of the moment has it enabled. */
    void trigger(const char *name)
    {
        action(name)->setEnabled(true);
        action(name)->trigger();
    }
    QString status() const { return windows::statusText(window); }
    void setStatus(const QString &text) { window->statusBar()->showMessage(text); }

    /** The open in-place editor of a pane, null when there is none. */
    static QLineEdit *editorOf(const QTreeWidget *tree)
    {
        for (QLineEdit *editor : tree->viewport()->findChildren<QLineEdit *>())
            if (editor->isVisible())
                return editor;
        return nullptr;
    }

    /** Types a name into the open editor and ends the edit with a key. */
    static void endEdit(const QTreeWidget *tree, const QString &text, Qt::Key key = Qt::Key_Return)
    {
        QPointer<QLineEdit> editor = editorOf(tree);
        QVERIFY(editor);
        QTRY_VERIFY(editor->hasFocus());
        editor->setText(text);
        QTest::keyClick(editor, key);
        QTRY_VERIFY(!editor);
    }

    /** One box came up, and it was a critical one of the window. */
    static void checkBox(const Modals &modals, const char *title, const QString &text, const QWidget *window)
    {
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.last().icon, QMessageBox::Critical);
        QCOMPARE(modals.last().title, QString::fromLatin1(title));
        QCOMPARE(modals.last().text, text);
        QCOMPARE(modals.last().textFormat, Qt::PlainText);
        QCOMPARE(modals.last().buttons, QStringList("OK"));
        QCOMPARE(modals.last().parent.data(), window);
    }
};

/**
 * An ordinary user's rights for as long as the object lives, for whom a folder without the write bit is not writable;
 * root may write anywhere. The folder is given to that user.
 */
class OrdinaryUser
{
public:
    explicit OrdinaryUser(const QString &folder) : m_wasRoot(::geteuid() == 0)
    {
        if (!m_wasRoot)
            return;
        const QByteArray path = QFile::encodeName(folder);
        if (::chown(path.constData(), nobody, nobody) != 0 || ::setresuid(nobody, nobody, 0) != 0)
            qFatal("cannot become an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (m_wasRoot && ::setresuid(0, 0, 0) != 0)
            qFatal("cannot become root again");
    }

private:
    static constexpr uid_t nobody = 65534;
    const bool m_wasRoot;
};

#endif
