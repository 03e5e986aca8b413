#include "ColladaText.h"
#include "MessageCapture.h"
#include "NumberLists.h"
#include "QueryMessages.h"
#include "QueryProgram.h"
#include "Scene.h"
#include "SceneDump.h"
#include "XmlSceneReceiver.h"

#include <QBuffer>
#include <QDataStream>
#include <QRandomGenerator>
#include <QXmlQuery>
#include <QtTest>

using namespace Quorvel;

/// Which texts are taken out of a document, and that a scene made without them in the XML engine is the one
/// that the plain way makes: for every fixture that loads, and for generated documents full of what could go
/// wrong.
class TestNumberLists : public QObject
{
    Q_OBJECT

private slots:
    void takenOut_data();
    void takenOut();
    void shortListsStay();
    void marks();
    void fixturesConvertAlike_data();
    void fixturesConvertAlike();
    void generatedDocumentsConvertAlike();
    void flatGeometries_data();
    void flatGeometries();
    void flatGeometriesAreSoForTheQuery();
    void malformedStaysMalformed_data();
    void malformedStaysMalformed();
};

namespace
{

/// All that can be told of a conversion: the scene as text and as a record, and every line it printed.
struct Result
{
    bool succeeded = false;
    QString scene;
    QByteArray record;
    QStringList lines;
};

/// As the loader does it. The plain way when `lists` is null.
Result convert(QByteArray text, const NumberLists *lists)
{
    Result result;
    const MessageCapture capture;
    const bool areFlat = lists && lists->areGeometriesFlat();
    QByteArray programText = areFlat ? QueryProgram::textForFlatGeometries() : QueryProgram::text();
    QBuffer program(&programText);
    program.open(QIODevice::ReadOnly);
    Scene scene;
    QueryMessages messages(QStringLiteral("file"));
    QXmlQuery query;
    query.setMessageHandler(&messages);
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly);
    query.bindVariable(QStringLiteral("xmlData"), &buffer);
    query.setQuery(&program, QueryProgram::url());
    XmlSceneReceiver receiver(&query, &scene, &scene.geometries(), &scene.lights(), &scene.cameras(),
                              &scene.materials(), &scene.nodes(), lists);
    result.succeeded = query.evaluateTo(&receiver);
    scene.complete();
    result.scene = dumpScene(scene);
    QDataStream stream(&result.record, QIODevice::WriteOnly);
    scene.save(stream);
    result.lines = capture.lines();
    return result;
}

/// Empty when both ways agree on the document, or else what differs. `lists` are those of the document.
QString difference(const QByteArray &document, const NumberLists &lists)
{
    const Result plain = convert(document, nullptr);
    const Result shortened = convert(lists.document(), &lists);
    if (plain.succeeded != shortened.succeeded)
        return QStringLiteral("only one way succeeds");
    if (plain.scene != shortened.scene)
        return QStringLiteral("plain:\n%1\nshortened:\n%2").arg(plain.scene, shortened.scene);
    if (plain.record != shortened.record)
        return QStringLiteral("the records differ");
    return plain.lines == shortened.lines ? QString() : QStringLiteral("the printed lines differ");
}

/// What the query's own look says of all geometries of a document whose root is <a>.
bool queryFindsFlat(QByteArray document)
{
    const QString program = QString::fromUtf8(QueryProgram::text());
    const int begin = program.indexOf(QLatin1String("declare function local:isFlat"));
    const int end = program.indexOf(QLatin1String("};"), begin) + 2;
    QBuffer buffer(&document);
    buffer.open(QIODevice::ReadOnly);
    QXmlQuery query;
    query.bindVariable(QStringLiteral("xmlData"), &buffer);
    query.setQuery(QStringLiteral("declare variable $xmlData external; ") + program.mid(begin, end - begin) +
                   QStringLiteral(" string(every $g in doc($xmlData)/a/*:library_geometries/*:geometry "
                                  "satisfies local:isFlat($g))"));
    QString answer;
    query.evaluateTo(&answer);
    return answer.trimmed() == QLatin1String("true");
}

/// An element with others in it, for the most part where programs put them.
QByteArray randomElement(QRandomGenerator *random, int level)
{
    static const QList<QList<QByteArray>> usual = {{},
                                                   {"mesh"},
                                                   {"source", "vertices", "triangles", "polygons"},
                                                   {"input", "p", "technique_common", "param"},
                                                   {"accessor", "param"},
                                                   {"param"}};
    static const QList<QByteArray> all = {"mesh",     "source", "float_array", "input", "triangles",
                                          "polygons", "p"};
    const bool isUsual = level < usual.size() && random->bounded(40) > 0;
    const QList<QByteArray> &names = isUsual ? usual.at(level) : all;
    const QByteArray name = names.at(random->bounded(names.size()));
    QByteArray inside;
    for (int i = random->bounded(3); i > 0 && level < 7 && (level < 5 || random->bounded(20) == 0); --i)
        inside += randomElement(random, level + 1);
    if (inside.isEmpty() && random->bounded(2))
        return "<" + name + "/>";
    return "<" + name + ">" + inside + "</" + name + ">";
}

QDir fixtures()
{
    return QDir(QStringLiteral(QUORVEL_FIXTURES "/collada"));
}

QByteArray geometries(const QByteArray &inside)
{
    return ColladaText::document("<library_geometries>" + inside + "</library_geometries>\n",
                                 "<node id='n'/>");
}

/// Documents whose number lists are cut up, joined, commented, mistyped and otherwise hard to see through,
/// with indices that stay in range.
class Documents
{
public:
    explicit Documents(quint32 seed) : m_random(seed) {}

    QByteArray next()
    {
        QByteArray inside;
        for (int i = 0, count = 1 + below(3); i < count; ++i)
            inside += geometry("g" + QByteArray::number(i));
        const QByteArray library = oneOf({"library_geometries", "c:library_geometries"});
        const QByteArray nodes = "<node id='n'><matrix>" + words({"1", "0", "0.5"}, 16) +
                                 "</matrix><instance_geometry url='#g0'/></node>" +
                                 ColladaText::cameraNode("view");
        QByteArray document = ColladaText::document(
            ColladaText::camera("camera") + "<" + library +
                " xmlns:c='http://www.collada.org/2005/11/COLLADASchema'>" + inside + "</" + library + ">\n" +
                oneOf({"", "<extra>0 0 0 1 1 1 2 2 2</extra>\n"}),
            nodes);
        document.replace("encoding=\"utf-8\"",
                         oneOf({"encoding=\"utf-8\"", "encoding='ISO-8859-1'", "", "encoding = \"us-ascii\"",
                                "encoding=\"windows-1252\""}));
        return document;
    }

private:
    int below(int limit) { return m_random.bounded(limit); }
    QByteArray oneOf(const QList<QByteArray> &choices) { return choices.at(below(choices.size())); }

    QByteArray words(const QList<QByteArray> &choices, int count)
    {
        QByteArray text = oneOf({"", " ", "\n\t"});
        for (int i = 0; i < count; ++i)
            text += (i ? oneOf({" ", " ", " ", "\n", "\t", "  ", "\r\n"}) : QByteArray()) + oneOf(choices);
        return text + oneOf({"", " ", "\n"});
    }

    /// Once in a while something that is not simply text.
    QByteArray interruption()
    {
        if (below(3))
            return QByteArray();
        return oneOf({"<!-- 1 2 3 -->", "<!---->", "<?pi 4 5 6?>", " <!-- < > & @0@ --> ", "<extra/>",
                      "<extra>0</extra>", "<!-- - -->0", "\xc3\xa9"}) +
               (below(12)
                    ? QByteArray()
                    : oneOf({"&#32;", "&lt;", "<![CDATA[ 0 0 ]]>", "@0@", "@", "&#64;0@", "]", "&#233;"}));
    }

    QByteArray list(const QList<QByteArray> &choices, int count)
    {
        return words(choices, count) + interruption() + words(choices, count) + interruption();
    }

    QByteArray source(const QByteArray &id)
    {
        const QList<QByteArray> numbers = {"0",   "1",    "-2.5",   "1e3", "+4",   "0.333333333333",
                                           "abc", "1-2",  "1.#IND", "nan", "5.e2", "1,5",
                                           "-0",  "1e-50"};
        QByteArray arrays;
        for (int i = 0, count = 1 + below(2); i < count; ++i)
            arrays += "<float_array>" + list(numbers, 9) + "</float_array>";
        const QByteArray around = oneOf({"", "", "technique"});
        if (!around.isEmpty())
            arrays = "<" + around + ">" + arrays + "</" + around + ">";
        return "<source id='" + id + "'>" + arrays +
               oneOf({"", "<param/>", "<technique_common><accessor/></technique_common>"}) + "</source>";
    }

    /// Where lists are cut up, what is left and right of a cut can become one word, so that has to be 0.
    QByteArray indices()
    {
        return below(2) ? words({"0", "1", "2", "+1", "-0", "0x1", "0b10", "02", "abc"}, 18)
                        : list({"0", "00", "-0", "+0", "abc"}, 9);
    }

    QByteArray geometry(const QByteArray &id)
    {
        QByteArray mesh = source(id + "p") + source(id + "n") + source(id + "t") + "<vertices id='" + id +
                          "v'><input semantic='POSITION' source='#" + id + "p'/></vertices>";
        for (int i = 0, count = 1 + below(2); i < count; ++i) {
            const QByteArray name = oneOf({"triangles", "triangles", "polygons"});
            mesh += "<" + name + " material='paint'><input semantic='VERTEX' source='#" + id +
                    "v'/><input semantic='NORMAL' source='#" + id + "n'/>" +
                    (below(4) ? "<input semantic='TEXCOORD' source='#" + id + "t'/>" : QByteArray());
            for (int k = 0, lists = 1 + below(3); k < lists; ++k)
                mesh += "<p>" + indices() + "</p>";
            mesh += "</" + name + ">";
        }
        return "<geometry id='" + id + "'><mesh>" + mesh + "</mesh>" +
               oneOf({"", "<extra><p>3 4 5</p></extra>"}) + "</geometry>";
    }

    QRandomGenerator m_random;
};

} // namespace

void TestNumberLists::takenOut_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QByteArray>("shortened");

    const auto row = [](const char *name, const QByteArray &before, const QByteArray &after) {
        QTest::newRow(name) << before << after;
    };
    const auto stays = [&row](const char *name, const QByteArray &document) {
        row(name, document, document);
    };
    const QByteArray list = "<library_geometries><p>1 2 3</p></library_geometries>";
    const QByteArray marked = "<library_geometries><p>@0@</p></library_geometries>";

    row("list", "<a>" + list + "</a>", "<a>" + marked + "</a>");
    row("blanks stay outside", "<a><library_geometries><p>\n 1 2\n</p></library_geometries></a>",
        "<a><library_geometries><p>\n @0@\n</p></library_geometries></a>");
    row("several", "<a><library_geometries><p>1</p><p>2 2</p></library_geometries>" + list + "</a>",
        "<a><library_geometries><p>@0@</p><p>@1@</p></library_geometries><library_geometries><p>@2@</p>"
        "</library_geometries></a>");
    row("prefix", "<a><c:library_geometries>1</c:library_geometries></a>",
        "<a><c:library_geometries>@0@</c:library_geometries></a>");
    row("beside comments", "<a><library_geometries>1<!-- 2 -->3</library_geometries></a>",
        "<a><library_geometries>@0@<!-- 2 -->@1@</library_geometries></a>");
    row("words", "<a><library_geometries>nan 1.#IND \"x\"</library_geometries></a>",
        "<a><library_geometries>@0@</library_geometries></a>");
    row("encoding", "<?xml version='1.0' encoding='UTF-8'?><a>" + list + "</a>",
        "<?xml version='1.0' encoding='UTF-8'?><a>" + marked + "</a>");
    row("no encoding", "<?xml version='1.0'?><a>" + list + "</a>",
        "<?xml version='1.0'?><a>" + marked + "</a>");
    row("special characters elsewhere", "<a b='@&amp;'>@ &amp; <![CDATA[1]]>" + list + "</a>",
        "<a b='@&amp;'>@ &amp; <![CDATA[1]]>" + marked + "</a>");
    row("text beyond ASCII", "<a><library_geometries><p>1</p><p>2\xc3\xa9</p></library_geometries></a>",
        "<a><library_geometries><p>@0@</p><p>2\xc3\xa9</p></library_geometries></a>");
    row("no markup in a text", "<a><library_geometries><p>1</p><p>2>3</p><p>]</p></library_geometries></a>",
        "<a><library_geometries><p>@0@</p><p>2>3</p><p>]</p></library_geometries></a>");

    stays("empty", "");
    stays("elsewhere", "<a><p>1 2 3</p><library_lights>1 2 3</library_lights></a>");
    stays("library at another level", "<a><b>" + list + "</b></a>");
    stays("library as the root", list);
    stays("empty library", "<a><library_geometries/><p>1 2 3</p></a>");
    stays("behind the library", "<a><library_geometries></library_geometries><p>1 2 3</p></a>");
    stays("only blanks", "<a><library_geometries> \n </library_geometries></a>");
    stays("never ends", "<a><library_geometries>1 2 3");
    stays("something like a mark", "<a>" + list + "<library_geometries>@0@</library_geometries></a>");
    stays("reference", "<a>" + list + "<library_geometries>&#64;</library_geometries></a>");
    stays("CDATA", "<a>" + list + "<library_geometries><![CDATA[1]]></library_geometries></a>");
    stays("document type", "<!DOCTYPE a [<!ENTITY e '1'>]><a>" + list + "</a>");
    stays("another encoding", "<?xml version='1.0' encoding='Shift_JIS'?><a>" + list + "</a>");
}

void TestNumberLists::takenOut()
{
    QFETCH(QByteArray, document);

    const NumberLists lists(document, 1);
    QTEST(lists.document(), "shortened");
    QCOMPARE(lists.isEmpty(), lists.document() == document);
}

void TestNumberLists::shortListsStay()
{
    const auto library = [](int size) {
        return "<a><library_geometries>" + QByteArray(size, '1') + "</library_geometries></a>";
    };
    QVERIFY(NumberLists(library(NumberLists::UsualShortest - 1)).isEmpty());
    QVERIFY(!NumberLists(library(NumberLists::UsualShortest)).isEmpty());
}

void TestNumberLists::marks()
{
    const NumberLists lists("<a><library_geometries><p>10 20</p><p>30</p></library_geometries></a>", 1);
    const auto one = [&lists](const QString &text) {
        const auto list = lists.list(QStringRef(&text));
        return list ? QString::fromLatin1(list->data(), int(list->size())) : QStringLiteral("(none)");
    };
    const auto expanded = [&lists](const QString &text) { return lists.expanded(QStringRef(&text)); };
    QCOMPARE(one(QStringLiteral(" @1@\n")), QStringLiteral("30"));
    QCOMPARE(one(QStringLiteral("@0@ @1@")), QStringLiteral("(none)"));
    QCOMPARE(one(QStringLiteral("1@0@")), QStringLiteral("(none)"));
    QCOMPARE(expanded(QStringLiteral("@0@ @1@")), QStringLiteral("10 20 30"));
    QCOMPARE(expanded(QStringLiteral("1@1@2 @0@@1@")), QStringLiteral("1302 10 2030"));
}

void TestNumberLists::fixturesConvertAlike_data()
{
    QTest::addColumn<QString>("folder");
    for (const QString &name : fixtures().entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!QFile::exists(fixtures().filePath(name) + QStringLiteral("/not-loadable")))
            QTest::newRow(qPrintable(name)) << fixtures().filePath(name);
    }
}

void TestNumberLists::fixturesConvertAlike()
{
    QFETCH(QString, folder);
    QFile file(folder + QStringLiteral("/input.dae"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray document = file.readAll();

    const QString differs = difference(document, NumberLists(document, 1));
    QVERIFY2(differs.isEmpty(), qPrintable(differs));
}

void TestNumberLists::generatedDocumentsConvertAlike()
{
    Documents documents(42);
    int shortened = 0;
    constexpr int count = 100;
    for (int i = 0; i < count; ++i) {
        const QByteArray document = documents.next();
        const NumberLists lists(document, 1);
        shortened += lists.isEmpty() ? 0 : 1;
        const QString differs = difference(document, lists);
        QVERIFY2(differs.isEmpty(),
                 qPrintable(differs + QStringLiteral("\nin\n") + QString::fromUtf8(document)));
    }
    QVERIFY(shortened > count / 4);
    QVERIFY(shortened < count);
}

void TestNumberLists::flatGeometries_data()
{
    QTest::addColumn<QByteArray>("inside");
    QTest::addColumn<bool>("isFlat");
    const auto row = [](const QByteArray &inside, bool isFlat) {
        QTest::newRow(inside.constData()) << inside << isFlat;
    };
    const auto inGeometry = [&row](const QByteArray &inside, bool isFlat) {
        row("<geometry>" + inside + "</geometry>", isFlat);
    };
    inGeometry("<mesh><source><float_array>1</float_array><x><y><z/></y></x></source></mesh>", true);
    inGeometry("<c:mesh><c:triangles><c:input/><c:p>1</c:p></c:triangles><polygons/></c:mesh>", true);
    inGeometry("<mesh/><extra><vertices><input/></vertices></extra>", true);
    inGeometry("<mesh><v><w><x><y><z/></y></x></w></v></mesh>", false);
    inGeometry("<mesh><v><w><x><y/></x></w></v></mesh>", true);
    inGeometry("<source><float_array>1</float_array></source>", false);
    inGeometry("<mesh><x><source/></x></mesh>", false);
    inGeometry("<mesh><float_array>1</float_array></mesh>", false);
    inGeometry("<mesh><vertices><float_array>1</float_array></vertices></mesh>", false);
    inGeometry("<mesh><source/><x><float_array>1</float_array></x></mesh>", false);
    inGeometry("<mesh><source><x><float_array>1</float_array></x></source></mesh>", false);
    inGeometry("<mesh><input/></mesh>", false);
    inGeometry("<mesh><x><y><input/></y></x></mesh>", false);
    inGeometry("<triangles/>", false);
    inGeometry("<mesh><x><polygons/></x></mesh>", false);
    inGeometry("<mesh><triangles><p><x/></p></triangles></mesh>", false);
    inGeometry("<mesh><polygons><p><x>1</x></p></polygons></mesh>", false);
    inGeometry("<mesh><lines><p><x/></p></lines></mesh>", true);
    row("<x><mesh><x><source/></x></mesh></x><geometry/>", true);
    row("<geometry/><x><source/></x>", true);
    row("<geometry><mesh/></geometry><geometry><source/></geometry>", false);
}

void TestNumberLists::flatGeometries()
{
    QFETCH(QByteArray, inside);
    const QByteArray document = "<a xmlns:c='c'><library_geometries>" + inside + "</library_geometries></a>";
    QTEST(NumberLists(document, 1).areGeometriesFlat(), "isFlat");
    QCOMPARE(queryFindsFlat(document), NumberLists(document, 1).areGeometriesFlat());
}

void TestNumberLists::flatGeometriesAreSoForTheQuery()
{
    QRandomGenerator random(7);
    constexpr int count = 600;
    int flat = 0;
    for (int i = 0; i < count; ++i) {
        QByteArray document = "<a><library_geometries>";
        for (int k = 0; k < 2; ++k)
            document += "<geometry>" + randomElement(&random, 1) + randomElement(&random, 1) + "</geometry>";
        document += "</library_geometries></a>";
        const bool isFlat = NumberLists(document, 1).areGeometriesFlat();
        flat += isFlat;
        QVERIFY2(isFlat == queryFindsFlat(document), document.constData());
    }
    QVERIFY2(flat > count / 20 && flat < count - count / 20, qPrintable(QString::number(flat)));
}

void TestNumberLists::malformedStaysMalformed_data()
{
    QTest::addColumn<QByteArray>("library");
    QTest::newRow("two attributes of a name") << QByteArray("<geometry id='a' id='b'><p>1 2</p></geometry>");
    QTest::newRow("unknown prefix") << QByteArray("<geometry><q:p>1 2</q:p></geometry>");
    QTest::newRow("wrong end tag") << QByteArray("<geometry><p>1 2</q></geometry>");
    QTest::newRow("end of a section in a text") << QByteArray("<geometry><p>1 ]]> 2</p></geometry>");
    QTest::newRow("control character") << QByteArray("<geometry><p>1 \x01 2</p></geometry>");
    QTest::newRow("unclosed quote") << QByteArray("<geometry id='a><p>1 2</p></geometry>");
    QTest::newRow("unknown entity") << QByteArray("<geometry><p>1 &e; 2</p></geometry>");
    QTest::newRow("two hyphens in a comment") << QByteArray("<geometry><p>1 <!-- -- --> 2</p></geometry>");
}

void TestNumberLists::malformedStaysMalformed()
{
    QFETCH(QByteArray, library);

    const QByteArray document = geometries("<geometry id='g'><p>1 2 3</p></geometry>" + library);
    QVERIFY(!convert(document, nullptr).succeeded);
    const NumberLists lists(document, 1);
    const Result shortened = convert(lists.document(), &lists);
    QVERIFY(!shortened.succeeded);
    // Nothing was received, so that converting once more repeats no line but the message.
    QCOMPARE(shortened.lines.size(), 1);
}

QTEST_GUILESS_MAIN(TestNumberLists)
#include "tst_numberlists.moc"
