#ifndef TESTMAIN_H
#define TESTMAIN_H

#include <QApplication>
#include <QTest>

/** main() of a test of the plug-in: Qt's own dialogs (the helpers know their parts), and no end with the last window.
 */
#define BTFTP_TEST_MAIN(TestClass)                                                                                     \
    int main(int argc, char *argv[])                                                                                   \
    {                                                                                                                  \
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);                                                   \
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeMenuBar);                                                   \
        QApplication application(argc, argv);                                                                          \
        application.setQuitOnLastWindowClosed(false);                                                                  \
        TestClass test;                                                                                                \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }

#endif
