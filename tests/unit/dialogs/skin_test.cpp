#include "CVmSkin.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPalette>
#include <QTemporaryDir>
#include <QtTest>

class SkinTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void image_ofEveryIdInUse_loadsCrisp_data();
    void image_ofEveryIdInUse_loadsCrisp();
    void image_withoutTheTheme_isTheBuiltInOne_data() { image_ofEveryIdInUse_loadsCrisp_data(); }
    void image_withoutTheTheme_isTheBuiltInOne();
    void image_ofAnUnknownId_isNeutral_data();
    void image_ofAnUnknownId_isNeutral();
    void images_ofDifferentRoles_differ();
    void image_inADarkPalette_isOfTheDarkTheme();
    void serviceIcon_ofVariantFour_isLargeAsAPixmap();

private:
    QPalette m_palette = QGuiApplication::palette();
    QByteArray m_dataDirs = qgetenv("XDG_DATA_DIRS");
};

namespace {

const int kClientIds[] = {100, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114, 115, 117, 118, 119};

/** An image that a person can see: some of it painted, not all of it in one colour. */
void verifyCrisp(const QString &path)
{
    const QIcon icon(path);
    QVERIFY2(!icon.isNull(), qPrintable(path));
    for (int size : {16, 22, 24, 32, 48, 64}) {
        const QImage image = icon.pixmap(size, size).toImage().convertToFormat(QImage::Format_ARGB32);
        QVERIFY2(qMax(image.width(), image.height()) == size,
                 qPrintable(path + QStringLiteral(" does not fill the size")));
        int painted = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                painted += qAlpha(image.pixel(x, y)) > 64 ? 1 : 0;
        }
        QVERIFY2(painted > size / 2, qPrintable(QStringLiteral("%1 is blank at %2").arg(path).arg(size)));
    }
    QVERIFY2(!QPixmap(path).isNull(), qPrintable(path));
    QVERIFY2(QPixmap(path).width() >= 16, qPrintable(path));
}

} // namespace

void SkinTest::cleanup()
{
    QGuiApplication::setPalette(m_palette);
    if (m_dataDirs.isNull())
        qunsetenv("XDG_DATA_DIRS");
    else
        qputenv("XDG_DATA_DIRS", m_dataDirs);
}

void SkinTest::image_ofEveryIdInUse_loadsCrisp_data()
{
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("variant");
    for (int id : kClientIds)
        QTest::addRow("client image %d", id) << 11 << id << 0;
    for (int variant = 0; variant <= 4; ++variant)
        QTest::addRow("file transfer service, variant %d", variant) << 2 << 4358 << variant;
}

void SkinTest::image_ofEveryIdInUse_loadsCrisp()
{
    QFETCH(int, group);
    QFETCH(int, id);
    QFETCH(int, variant);
    const QString path = CVmSkin::GetImgPath(group, id, variant);
    QVERIFY2(path.contains(QLatin1String("/breeze/")), qPrintable(path));
    QVERIFY(path != CVmSkin::GetImgPath(0, 0, 0));
    verifyCrisp(path);
}

void SkinTest::image_withoutTheTheme_isTheBuiltInOne()
{
    QFETCH(int, group);
    QFETCH(int, id);
    QFETCH(int, variant);
    const QTemporaryDir empty;
    qputenv("XDG_DATA_DIRS", empty.path().toUtf8());
    const QString path = CVmSkin::GetImgPath(group, id, variant);
    QVERIFY2(path.startsWith(QLatin1String(":/")), qPrintable(path));
    verifyCrisp(path);
    QVERIFY(path != CVmSkin::GetImgPath(0, 0, 0));
    verifyCrisp(CVmSkin::GetImgPath(0, 0, 0));
}

void SkinTest::image_ofAnUnknownId_isNeutral_data()
{
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("variant");
    QTest::newRow("an id below the client's") << 11 << 99 << 0;
    QTest::newRow("an id beyond the client's") << 11 << 120 << 0;
    QTest::newRow("a hole among the client's") << 11 << 101 << 0;
    QTest::newRow("another service") << 2 << 0x1105 << 4;
    QTest::newRow("a group that nobody has") << 7 << 105 << 0;
    QTest::newRow("negative numbers") << -1 << -2147483647 << -5;
}

void SkinTest::image_ofAnUnknownId_isNeutral()
{
    QFETCH(int, group);
    QFETCH(int, id);
    QFETCH(int, variant);
    QCOMPARE(CVmSkin::GetImgPath(group, id, variant), CVmSkin::GetImgPath(0, 0, 0));
    verifyCrisp(CVmSkin::GetImgPath(group, id, variant));
}

void SkinTest::images_ofDifferentRoles_differ()
{
    QSet<QString> paths;
    for (int id : kClientIds)
        paths.insert(CVmSkin::GetImgPath(11, id, 0));
    QCOMPARE(paths.size(), int(std::size(kClientIds)));
}

void SkinTest::image_inADarkPalette_isOfTheDarkTheme()
{
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    QGuiApplication::setPalette(dark);
    const QString path = CVmSkin::GetImgPath(11, 109, 0);
    QVERIFY2(path.contains(QLatin1String("/breeze-dark/")), qPrintable(path));
    const QImage image = QIcon(path).pixmap(64, 64).toImage();
    int bright = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            bright += qAlpha(image.pixel(x, y)) > 200 && qGray(image.pixel(x, y)) > 180 ? 1 : 0;
    }
    QVERIFY2(bright > 50, "the arrow must stand out from the dark");
}

void SkinTest::serviceIcon_ofVariantFour_isLargeAsAPixmap()
{
    QCOMPARE(QPixmap(CVmSkin::GetImgPath(2, 4358, 4)).size(), QSize(64, 64));
    QCOMPARE(CVmSkin::GetImgPath(2, 4358, 99), CVmSkin::GetImgPath(2, 4358, 4));
    QCOMPARE(CVmSkin::GetImgPath(2, 4358, -1), CVmSkin::GetImgPath(2, 4358, 0));
}

QTEST_MAIN(SkinTest)
#include "skin_test.moc"
