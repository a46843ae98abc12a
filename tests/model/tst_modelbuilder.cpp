#include "ModelBuilder.h"

#include <QTest>

using namespace Vardune::Qel;

class TestModelBuilder : public QObject
{
    Q_OBJECT

private slots:
    void newBuilderIsEmpty();
};

void TestModelBuilder::newBuilderIsEmpty()
{
    ModelBuilder builder;
    QVERIFY(!builder.isValid());
}

QTEST_GUILESS_MAIN(TestModelBuilder)
#include "tst_modelbuilder.moc"
