#include "ColladaText.h"
#include "DocumentCheck.h"

#include <QtTest>

using namespace Quorvel;

class TestDocumentCheck : public QObject
{
    Q_OBJECT

private slots:
    void documentDepth_data();
    void documentDepth();
};

void TestDocumentCheck::documentDepth_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("depth");
    QTest::addColumn<QString>("root");

    QTest::newRow("empty") << QByteArray() << 0 << QString();
    QTest::newRow("no element") << QByteArray("just text > and < signs"
                                              "<")
                                << 1 << QString();
    QTest::newRow("one") << QByteArray("<?xml version='1.0'?>\n<a/>") << 1 << QStringLiteral("a");
    QTest::newRow("prefix") << QByteArray("<c:COLLADA xmlns:c='u'><c:b/></c:COLLADA>") << 2
                            << QStringLiteral("COLLADA");
    QTest::newRow("siblings") << QByteArray("<a><b></b><b><c/></b><b/></a>") << 3 << QStringLiteral("a");
    QTest::newRow("comment") << QByteArray("<!-- <x><y><z> --><a><!-- <b><c> --></a>") << 1
                             << QStringLiteral("a");
    QTest::newRow("CDATA") << QByteArray("<a><![CDATA[<b><c><d>]]></a>") << 1 << QStringLiteral("a");
    QTest::newRow("instruction") << QByteArray("<a><?p <b><c> ?></a>") << 1 << QStringLiteral("a");
    QTest::newRow("attributes") << QByteArray("<a b='<c><d>' e=\"/>'<f>\"><g h='>'/></a>") << 2
                                << QStringLiteral("a");
    QTest::newRow("document type") << QByteArray(
                                          "<!DOCTYPE a [<!ELEMENT b (c)> <!-- ' [ --> <!ENTITY e '<x><y>'>"
                                          "<?p ' ?>]><a><b/></a>")
                                   << 2 << QStringLiteral("a");
    QTest::newRow("line ends in tags") << QByteArray("<a\n b='1'\n><c\n/></a\n>") << 2 << QStringLiteral("a");
    QTest::newRow("unclosed") << QByteArray("<a><b><c") << 3 << QStringLiteral("a");
    QTest::newRow("unclosed quote") << QByteArray("<a><b c='") << 2 << QStringLiteral("a");
    QTest::newRow("unclosed comment") << QByteArray("<a><!-- <b>") << 1 << QStringLiteral("a");
    QTest::newRow("built") << ColladaText::nested(77) << 77 << QStringLiteral("COLLADA");
}

void TestDocumentCheck::documentDepth()
{
    QFETCH(QByteArray, text);

    const DocumentCheck document(text);
    QTEST(document.depth(), "depth");
    QTEST(document.rootElement(), "root");
}

QTEST_GUILESS_MAIN(TestDocumentCheck)
#include "tst_documentcheck.moc"
