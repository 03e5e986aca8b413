#include "QueryProgram.h"

#include <QAbstractMessageHandler>
#include <QAbstractXmlReceiver>
#include <QBuffer>
#include <QSourceLocation>
#include <QXmlNamePool>
#include <QXmlQuery>
#include <QXmlStreamReader>
#include <QtTest>

#include <algorithm>

using namespace Quorvel;

namespace
{

/// One event list that both sides are brought into: "<name", "@name=value" in order of the names, "text",
/// ">". Names are local names. Texts between two tags are one line, their whitespace runs one blank; texts
/// without anything else are left out.
class EventLines
{
public:
    void open(const QString &name)
    {
        closeText();
        m_attributes.clear();
        m_lines.append(QString(m_depth * 2, QLatin1Char(' ')) + QLatin1Char('<') + name);
        ++m_depth;
        m_firstAttribute = m_lines.size();
    }
    void attribute(const QString &name, const QString &value)
    {
        m_attributes.append(QString(m_depth * 2, QLatin1Char(' ')) + QLatin1Char('@') + name +
                            QLatin1Char('=') + value);
        std::sort(m_attributes.begin(), m_attributes.end());
        m_lines.erase(m_lines.begin() + m_firstAttribute, m_lines.end());
        m_lines += m_attributes;
    }
    void text(const QString &text) { m_text += text; }
    void close()
    {
        closeText();
        --m_depth;
        m_lines.append(QString(m_depth * 2, QLatin1Char(' ')) + QLatin1Char('>'));
    }
    QStringList lines() const { return m_lines; }

private:
    void closeText()
    {
        const QString text = m_text.simplified();
        m_text.clear();
        if (!text.isEmpty())
            m_lines.append(QString(m_depth * 2, QLatin1Char(' ')) + QLatin1Char('"') + text +
                           QLatin1Char('"'));
    }

    QStringList m_lines;
    QStringList m_attributes;
    QString m_text;
    int m_depth = 0;
    int m_firstAttribute = 0;
};

/// Takes the query's events. Beside the event lines it keeps what these even out.
class Recorder : public QAbstractXmlReceiver
{
public:
    explicit Recorder(const QXmlNamePool &names) : m_names(names) {}

    void startElement(const QXmlName &name) override
    {
        const QString local = name.localName(m_names);
        m_open.append(local);
        m_namespaces.append(name.namespaceUri(m_names));
        m_elements.append(qMakePair(local, m_namespaces.last()));
        m_events.open(local);
    }
    void endElement() override
    {
        m_open.removeLast();
        m_namespaces.removeLast();
        m_events.close();
    }
    void attribute(const QXmlName &name, const QStringRef &value) override
    {
        m_events.attribute(name.localName(m_names), value.toString());
    }
    void characters(const QStringRef &value) override { take(value.toString()); }
    void atomicValue(const QVariant &value) override { take(value.toString()); }
    void comment(const QString &) override {}
    void startDocument() override {}
    void endDocument() override {}
    void processingInstruction(const QXmlName &, const QString &) override {}
    void namespaceBinding(const QXmlName &) override {}
    void startOfSequence() override {}
    void endOfSequence() override {}

    QStringList lines() const { return m_events.lines(); }
    /// Local name and namespace of every element, in document order.
    QList<QPair<QString, QString>> elements() const { return m_elements; }
    /// The text events inside elements of that name, as they came.
    QStringList texts(const QString &name) const { return m_texts.value(name); }
    /// Names of elements outside any namespace that were sent text with nothing but whitespace in it.
    QStringList blankTexts() const { return m_blankTexts; }

private:
    void take(const QString &text)
    {
        m_events.text(text);
        m_texts[m_open.last()].append(text);
        if (!text.isEmpty() && text.trimmed().isEmpty() && m_namespaces.last().isEmpty())
            m_blankTexts.append(m_open.last());
    }

    QXmlNamePool m_names;
    EventLines m_events;
    QStringList m_open;
    QStringList m_namespaces;
    QList<QPair<QString, QString>> m_elements;
    QHash<QString, QStringList> m_texts;
    QStringList m_blankTexts;
};

class Messages : public QAbstractMessageHandler
{
public:
    QStringList lines;

protected:
    void handleMessage(QtMsgType, const QString &text, const QUrl &, const QSourceLocation &place) override
    {
        lines.append(QStringLiteral("%1:%2: %3").arg(place.line()).arg(place.column()).arg(text));
    }
};

QByteArray bytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const QString queryPath = QStringLiteral(":/xquery/collada.xq");
const QString colladaUri = QStringLiteral("http://www.collada.org/2005/11/COLLADASchema");

/// Runs the query, the resource as a rule, over the bytes of a document, with one variable bound.
struct Conversion
{
    explicit Conversion(QByteArray document, QByteArray program = bytes(queryPath))
    {
        QBuffer input(&document);
        input.open(QIODevice::ReadOnly);
        QBuffer text(&program);
        text.open(QIODevice::ReadOnly);
        query.setMessageHandler(&messages);
        query.bindVariable(QStringLiteral("xmlData"), &input);
        query.setQuery(&text, QUrl::fromLocalFile(queryPath));
        recorder.reset(new Recorder(query.namePool()));
        succeeded = query.isValid() && query.evaluateTo(recorder.data());
    }

    Messages messages;
    QXmlQuery query;
    QScopedPointer<Recorder> recorder;
    bool succeeded = false;
};

/// The event lines of a well-formed document that stands in a file; empty when it is not well-formed.
QStringList linesOfFile(const QString &path)
{
    EventLines events;
    QXmlStreamReader reader(bytes(path));
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            events.open(reader.name().toString());
            for (const QXmlStreamAttribute &attribute : reader.attributes())
                events.attribute(attribute.name().toString(), attribute.value().toString());
            break;
        case QXmlStreamReader::Characters:
            events.text(reader.text().toString());
            break;
        case QXmlStreamReader::EndElement:
            events.close();
            break;
        default:
            break;
        }
    }
    return reader.hasError() ? QStringList() : events.lines();
}

/// Empty when the lists are equal; else the surroundings of the first difference.
QString difference(const QStringList &expected, const QStringList &actual)
{
    int at = 0;
    while (at < expected.size() && at < actual.size() && expected.at(at) == actual.at(at))
        ++at;
    if (at == expected.size() && at == actual.size())
        return QString();
    const int from = qMax(0, at - 5);
    return QStringLiteral("line %1\n  both:\n    %2\n  expected:\n    %3\n  actual:\n    %4")
        .arg(at + 1)
        .arg(QStringList(expected.mid(from, at - from)).join(QStringLiteral("\n    ")),
             QStringList(expected.mid(at, 8)).join(QStringLiteral("\n    ")),
             QStringList(actual.mid(at, 8)).join(QStringLiteral("\n    ")));
}

QDir fixtures()
{
    return QDir(QStringLiteral(QUORVEL_FIXTURES "/collada"));
}

} // namespace

/// The query text over the fixture folders: every folder with an intermediate.xml is a row, in which
/// input.dae has to become the document of that file. Below that, what the comparison by lines evens out, and
/// generated input.
class TestQuery : public QObject
{
    Q_OBJECT

private slots:
    void resourceHasCrLfLineEnds();
    void compilesWithoutMessages();
    void xmlDataIsTheOnlyExternalVariable();
    void programForFlatGeometriesDoesNotLook();
    void fixture_data();
    void fixture();
    void constructedElementsAreInNoNamespace();
    void textsOfAListAreJoinedBySingleBlanks();
    void longListArrivesAsOneText();
    void findsEveryEffect_data();
    void findsEveryEffect();
    void findsEveryTarget();
    void nodesDownToTheDeepestLevel_data();
    void nodesDownToTheDeepestLevel();
    void searchesDownToTheDeepestLevel_data();
    void searchesDownToTheDeepestLevel();
    void malformedInputFails();
};

void TestQuery::resourceHasCrLfLineEnds()
{
    const QByteArray text = bytes(queryPath);
    QVERIFY(!text.isEmpty());
    QVERIFY(text.endsWith("\r\n"));
    QCOMPARE(text.count('\r'), text.count('\n'));
    QCOMPARE(text.count("\r\n"), text.count('\n'));
}

void TestQuery::compilesWithoutMessages()
{
    const Conversion conversion("<COLLADA/>");
    QVERIFY(conversion.succeeded);
    QCOMPARE(conversion.messages.lines, QStringList());
}

void TestQuery::xmlDataIsTheOnlyExternalVariable()
{
    const QRegularExpression declaration(
        QStringLiteral("declare\\s+variable\\s+\\$(\\S+)[^;]*\\sexternal\\s*;"));
    const QString program = QString::fromUtf8(bytes(queryPath));
    QStringList names;
    for (QRegularExpressionMatchIterator found = declaration.globalMatch(program); found.hasNext();)
        names.append(found.next().captured(1));
    QCOMPARE(names, QStringList{QStringLiteral("xmlData")});

    const Conversion conversion(
        "<COLLADA><library_geometries><geometry id='g'/></library_geometries></COLLADA>");
    QVERIFY2(conversion.succeeded, qPrintable(conversion.messages.lines.join(QLatin1Char('\n'))));
    QVERIFY(conversion.recorder->lines().contains(QStringLiteral("      @id=g")));
}

void TestQuery::programForFlatGeometriesDoesNotLook()
{
    const auto document = [](const QByteArray &begin, const QByteArray &end) {
        return "<COLLADA><library_geometries><geometry><mesh>" + begin +
               "<source id='s'><float_array>1 2 3</float_array></source>" + end +
               "<vertices><input semantic='POSITION' source='#s'/></vertices>"
               "</mesh></geometry></library_geometries></COLLADA>";
    };
    const auto vertices = [](const QByteArray &text, const QByteArray &program) {
        const Conversion conversion(text, program);
        return conversion.succeeded ? conversion.recorder->texts(QStringLiteral("vertices"))
                                    : QStringList(QStringLiteral("failed"));
    };
    const QStringList found(QStringLiteral("1 2 3"));
    const QByteArray plain = QueryProgram::text();
    const QByteArray flat = QueryProgram::textForFlatGeometries();
    QCOMPARE(plain, bytes(queryPath));
    QCOMPARE(vertices(document("", ""), plain), found);
    QCOMPARE(vertices(document("", ""), flat), found);
    QCOMPARE(vertices(document("<x><y>", "</y></x>"), plain), found);
    // Where no program puts a source, and where the other has to look for it.
    QVERIFY(vertices(document("<x><y>", "</y></x>"), flat) != found);
}

void TestQuery::fixture_data()
{
    QTest::addColumn<QString>("folder");
    int rows = 0;
    for (const QString &name : fixtures().entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QDir folder(fixtures().filePath(name));
        if (!folder.exists(QStringLiteral("intermediate.xml")))
            continue;
        QTest::newRow(qPrintable(name)) << folder.path();
        ++rows;
    }
    QVERIFY2(rows > 0, qPrintable(fixtures().path()));
}

void TestQuery::fixture()
{
    QFETCH(QString, folder);
    const QByteArray input = bytes(folder + QStringLiteral("/input.dae"));
    QVERIFY(!input.isEmpty());
    const QStringList expected = linesOfFile(folder + QStringLiteral("/intermediate.xml"));
    QVERIFY(!expected.isEmpty());

    const Conversion conversion(input);
    QVERIFY2(conversion.succeeded, qPrintable(conversion.messages.lines.join(QLatin1Char('\n'))));
    const QString found = difference(expected, conversion.recorder->lines());
    QVERIFY2(found.isEmpty(), qPrintable(found));
    QCOMPARE(conversion.messages.lines, QStringList());
}

void TestQuery::constructedElementsAreInNoNamespace()
{
    const Conversion conversion(bytes(fixtures().filePath(QStringLiteral("namespace-of-collada/input.dae"))));
    QVERIFY(conversion.succeeded);
    const QStringList copied = {QStringLiteral("up_axis"),  QStringLiteral("xfov"),
                                QStringLiteral("znear"),    QStringLiteral("zfar"),
                                QStringLiteral("color"),    QStringLiteral("diffuse"),
                                QStringLiteral("translate")};
    QSet<QString> seen;
    for (const auto &element : conversion.recorder->elements()) {
        const bool isCopy = copied.contains(element.first);
        QVERIFY2(element.second == (isCopy ? colladaUri : QString()), qPrintable(element.first));
        if (isCopy)
            seen.insert(element.first);
    }
    QCOMPARE(seen.size(), copied.size());
    QCOMPARE(conversion.recorder->blankTexts(), QStringList());
}

void TestQuery::textsOfAListAreJoinedBySingleBlanks()
{
    const auto texts = [](const char *folder, const char *element) {
        const Conversion conversion(
            bytes(fixtures().filePath(QString::fromLatin1(folder) + QLatin1String("/input.dae"))));
        return conversion.recorder->texts(QString::fromLatin1(element));
    };
    QCOMPARE(texts("several-float-arrays-in-a-source", "vertices"),
             QStringList(QStringLiteral("0 0 0 1 0 0 0 1 0")));
    QCOMPARE(texts("index-lists-below-a-primitive-are-joined", "triangles"),
             QStringList(QStringLiteral("0 1 2 1 2 0 2 0 1")));
    QCOMPARE(texts("number-text-is-carried-over-unchanged", "vertices"),
             QStringList(QStringLiteral("-0.0\t1e3 +2\n            nan 1,5 abc 0x1F .5 7")));
}

void TestQuery::longListArrivesAsOneText()
{
    const QByteArray numbers = QByteArray("0.125 ").repeated(300000).trimmed();
    const Conversion conversion(
        "<COLLADA><library_geometries><geometry id='g'><mesh><source id='p'><float_array>" + numbers +
        "</float_array></source><vertices><input semantic='POSITION' source='#p'/></vertices>"
        "</mesh></geometry></library_geometries></COLLADA>");
    QVERIFY(conversion.succeeded);
    const QStringList texts = conversion.recorder->texts(QStringLiteral("vertices"));
    QCOMPARE(texts.size(), 1);
    QVERIFY(texts.first() == QString::fromLatin1(numbers));
}

void TestQuery::findsEveryEffect_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {0, 1, 2, 7, 8, 9, 16, 63, 64, 65, 511, 512, 513, 1000})
        QTest::newRow(qPrintable(QString::number(count))) << count;
}

/// Materials and effects run in opposite directions, so that neither the order of the ids nor a running
/// number leads from one to the other; the ids differ in length, case and planes of Unicode.
void TestQuery::findsEveryEffect()
{
    QFETCH(int, count);
    const QStringList kinds = {QStringLiteral("fx"), QStringLiteral("FX"),     QStringLiteral("\u00e9"),
                               QStringLiteral("_"),  QStringLiteral("\uffe0"), QStringLiteral("\U0001f600")};
    const auto id = [&kinds](int index) {
        return kinds.at(index % kinds.size()) + QString::number(index * 7919);
    };
    QString materials;
    QString effects;
    QStringList expected;
    for (int i = 0; i < count; ++i) {
        materials +=
            QStringLiteral("<material id='m%1'><instance_effect url='#%2'/></material>").arg(i).arg(id(i));
        const int back = count - 1 - i;
        effects += QStringLiteral("<effect id='%1'><diffuse><color>%2</color></diffuse></effect>")
                       .arg(id(back))
                       .arg(back);
        expected.append(QString::number(i));
    }
    const QString document = QStringLiteral("<COLLADA><library_materials>%1</library_materials>"
                                            "<library_effects>%2</library_effects></COLLADA>")
                                 .arg(materials, effects);
    const Conversion conversion(document.toUtf8());
    QVERIFY(conversion.succeeded);
    QCOMPARE(conversion.recorder->texts(QStringLiteral("color")), expected);
    const QStringList lines = conversion.recorder->lines();
    QCOMPARE(lines.count(QStringLiteral("    <material")), count);
}

/// Many lights, each with one node that bears its target's name and one that it refers to.
void TestQuery::findsEveryTarget()
{
    const int count = 150;
    QString lights;
    QString nodes;
    QStringList expected;
    for (int i = 0; i < count; ++i) {
        lights += QStringLiteral("<light name='L%1'><spot/><target>#u%2</target></light>")
                      .arg(i)
                      .arg(count - 1 - i);
        nodes += QStringLiteral("<node id='u%1'><node id='t%1' name='L%1.Target'/></node>").arg(i);
        expected << QStringLiteral("@id=t%1").arg(i) << QStringLiteral("@id=u%1").arg(count - 1 - i);
    }
    const QString document =
        QStringLiteral("<COLLADA><library_lights>%1</library_lights><library_visual_scenes>"
                       "<visual_scene>%2</visual_scene></library_visual_scenes></COLLADA>")
            .arg(lights, nodes);
    const Conversion conversion(document.toUtf8());
    QVERIFY(conversion.succeeded);
    const QStringList lines = conversion.recorder->lines();
    QStringList found;
    for (int i = 0; i + 1 < lines.size(); ++i)
        if (lines.at(i).trimmed() == QLatin1String("<target"))
            found.append(lines.at(i + 1).trimmed());
    QCOMPARE(found, expected);
}

void TestQuery::nodesDownToTheDeepestLevel_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("levelWithSibling");
    // Levels count elements, the document element being level 1; nodes start at level 4.
    for (const int level : {100, 127, 128, 129, 200, 255, 256})
        for (const int sibling : {4, 5, 60})
            QTest::newRow(qPrintable(QStringLiteral("%1, sibling at %2").arg(level).arg(sibling)))
                << level << sibling;
}

/// A chain of nodes that ends in a translate at the given level; one of its nodes is followed by a sibling,
/// which the search must neither lose nor take for a part of the chain.
void TestQuery::nodesDownToTheDeepestLevel()
{
    QFETCH(int, level);
    QFETCH(int, levelWithSibling);
    QString chain = QStringLiteral("<translate>1 2 3</translate>");
    QStringList expected = {QStringLiteral("<translate"), QStringLiteral("\"1 2 3\""), QStringLiteral(">")};
    for (int at = level - 1; at >= 4; --at) {
        chain = QStringLiteral("<node id='n%1'>%2</node>").arg(at).arg(chain);
        expected = QStringList{QStringLiteral("<node"), QStringLiteral("@id=n%1").arg(at)} + expected;
        expected.append(QStringLiteral(">"));
        if (at == levelWithSibling) {
            chain += QStringLiteral("<node id='after'><translate>9 9 9</translate></node>");
            expected += QStringList{QStringLiteral("<node"),      QStringLiteral("@id=after"),
                                    QStringLiteral("<translate"), QStringLiteral("\"9 9 9\""),
                                    QStringLiteral(">"),          QStringLiteral(">")};
        }
    }
    const QString document =
        QStringLiteral(
            "<COLLADA><library_visual_scenes><visual_scene>%1</visual_scene></library_visual_scenes>"
            "<library_visual_scenes><visual_scene><node/></visual_scene></library_visual_scenes></COLLADA>")
            .arg(chain);
    const Conversion conversion(document.toUtf8());
    QVERIFY(conversion.succeeded);
    QStringList found;
    for (const QString &line : conversion.recorder->lines())
        found.append(line.trimmed());
    found = found.mid(found.indexOf(QStringLiteral("<nodes")) + 1);
    expected << QStringLiteral(">") << QStringLiteral(">");
    const QString differs = difference(expected, found);
    QVERIFY2(differs.isEmpty(), qPrintable(differs));
}

void TestQuery::searchesDownToTheDeepestLevel_data()
{
    QTest::addColumn<int>("level");
    for (const int level : {100, 120, 126, 127, 128, 129, 130, 140, 150, 170, 200, 230, 250, 255, 256})
        QTest::newRow(qPrintable(QString::number(level))) << level;
}

/// What is searched for anywhere below an element: a float array, an index list, an effect's colour and a
/// target node, each at the given level, and once more right after the chain that leads there.
void TestQuery::searchesDownToTheDeepestLevel()
{
    QFETCH(int, level);
    const auto chain = [level](const QString &name, int from, const QString &inside) {
        QString text = inside;
        for (int at = level - 1; at >= from; --at)
            text = QStringLiteral("<%1 id='%1%2' name='x'>%3</%1>").arg(name).arg(at).arg(text);
        return text;
    };
    const QString document =
        QStringLiteral(
            "<COLLADA>"
            "<library_geometries><geometry><source id='p'>%1<float_array>2</float_array></source>"
            "<vertices><input semantic='POSITION' source='#p'/></vertices>"
            "<triangles>%2<p>4</p></triangles></geometry></library_geometries>"
            "<library_lights><light name='S'><spot/></light></library_lights>"
            "<library_materials><material><instance_effect url='#e'/></material></library_materials>"
            "<library_effects><effect id='e'>%3<diffuse><color>6</color></diffuse></effect></library_effects>"
            "<library_visual_scenes><visual_scene>%4<node id='late' name='S.Target'/></visual_scene>"
            "</library_visual_scenes></COLLADA>")
            .arg(chain(QStringLiteral("extra"), 5, QStringLiteral("<float_array>1</float_array>")),
                 chain(QStringLiteral("extra"), 5, QStringLiteral("<p>3</p>")),
                 chain(QStringLiteral("extra"), 4, QStringLiteral("<diffuse>5</diffuse>")),
                 chain(QStringLiteral("node"), 4, QStringLiteral("<node id='deep' name='S.Target'/>")));
    const Conversion conversion(document.toUtf8());
    QVERIFY(conversion.succeeded);
    QCOMPARE(conversion.recorder->texts(QStringLiteral("vertices")), QStringList(QStringLiteral("1 2")));
    QCOMPARE(conversion.recorder->texts(QStringLiteral("triangles")), QStringList(QStringLiteral("3 4")));
    QCOMPARE(conversion.recorder->texts(QStringLiteral("diffuse")), QStringList(QStringLiteral("5")));
    QCOMPARE(conversion.recorder->texts(QStringLiteral("color")), QStringList(QStringLiteral("6")));
    const QStringList lines = conversion.recorder->lines();
    QStringList targets;
    for (int i = 0; i + 1 < lines.size(); ++i)
        if (lines.at(i).trimmed() == QLatin1String("<target"))
            targets.append(lines.at(i + 1).trimmed());
    QCOMPARE(targets, QStringList({QStringLiteral("@id=deep"), QStringLiteral("@id=late")}));
}

void TestQuery::malformedInputFails()
{
    for (const char *document :
         {"", "<COLLADA>", "<COLLADA></collada>", "no markup", "<COLLADA/><COLLADA/>"}) {
        const Conversion conversion{QByteArray(document)};
        QVERIFY2(!conversion.succeeded, document);
        QVERIFY2(!conversion.messages.lines.isEmpty(), document);
    }
}

QTEST_GUILESS_MAIN(TestQuery)
#include "tst_query.moc"
