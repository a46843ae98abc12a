#include "ModelVersions.h"

#include <QRegularExpression>
#include <QTest>

using namespace Vardune::Qel;

class TestVersions : public QObject
{
    Q_OBJECT

private slots:
    void answers();
};

void TestVersions::answers()
{
    QCOMPARE(ModelVersions::getVersion(), QStringLiteral("1.0.0"));
    QCOMPARE(ModelExportVersions::getVersion(), QStringLiteral("1.0.0"));
    QCOMPARE(ModelVersions::getMd5Sum(), QStringLiteral("1"));
    QCOMPARE(ModelExportVersions::getMd5Sum(), QStringLiteral("1"));
    const QString hash = ModelVersions::getGitHash();
    QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{40}$")).match(hash).hasMatch(), qPrintable(hash));
    QCOMPARE(ModelExportVersions::getGitHash(), hash);
}

QTEST_APPLESS_MAIN(TestVersions)
#include "tst_versions.moc"
