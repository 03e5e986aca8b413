#include "ProgramHome.h"

#include <QDirIterator>
#include <QtTest>

using namespace Quorvel::Test;

/// What the built programs are, seen from outside: hardened, and the same wherever and whenever they were
/// built.
class TestBuiltPrograms : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void loadsAnywhere_data() { addPrograms(); }
    void loadsAnywhere();
    void bindsBeforeItRuns_data() { addPrograms(); }
    void bindsBeforeItRuns();
    void stackHoldsNoCode_data() { addPrograms(); }
    void stackHoldsNoCode();
    void stackIsGuarded_data() { addPrograms(); }
    void stackIsGuarded();
    void callsCheckedFunctions_data() { addPrograms(); }
    void callsCheckedFunctions();
    void namesNoFolderOfTheBuild_data() { addPrograms(); }
    void namesNoFolderOfTheBuild();

    void jumpsAreGuarded();
    void resourcesCarryNoTimes();

private:
    static void addPrograms();
    /// What readelf says of the row's program.
    QString header(const char *option) const;

    ProgramHome m_home;
};

void TestBuiltPrograms::initTestCase()
{
    QVERIFY(QFileInfo(QStringLiteral(QUORVEL_READELF)).isExecutable());
}

void TestBuiltPrograms::addPrograms()
{
    QTest::addColumn<QString>("program");
    for (const QString &path : QStringLiteral(QUORVEL_PROGRAMS).split(QLatin1Char(':')))
        QTest::newRow(qPrintable(QFileInfo(path).fileName())) << path;
}

QString TestBuiltPrograms::header(const char *option) const
{
    QFETCH(QString, program);
    const ProgramEnd end = m_home.run(QStringLiteral(QUORVEL_READELF),
                                      {QStringLiteral("--wide"), QString::fromLatin1(option), program});
    return end.status == 0 ? end.out : QString();
}

void TestBuiltPrograms::loadsAnywhere()
{
    QVERIFY(header("--dynamic").contains(QRegularExpression(QStringLiteral("\\(FLAGS_1\\).* PIE\\b"))));
}

/// The table of library functions is filled before main() and read-only from then on.
void TestBuiltPrograms::bindsBeforeItRuns()
{
    QVERIFY(header("--dynamic").contains(QStringLiteral("BIND_NOW")));
    QVERIFY(header("--program-headers").contains(QStringLiteral("GNU_RELRO")));
}

void TestBuiltPrograms::stackHoldsNoCode()
{
    const QString headers = header("--program-headers");
    QVERIFY(headers.contains(QRegularExpression(QStringLiteral("GNU_STACK .* RW  "))));
}

void TestBuiltPrograms::stackIsGuarded()
{
    QVERIFY(header("--dyn-syms").contains(QStringLiteral(" __stack_chk_fail@")));
}

/// The C library's functions that know the size of what they write into, where the compiler does.
void TestBuiltPrograms::callsCheckedFunctions()
{
    const QRegularExpression checked(QStringLiteral(" __[a-z]+_chk@"));
    QVERIFY(header("--dyn-syms").contains(checked));
}

void TestBuiltPrograms::namesNoFolderOfTheBuild()
{
    QFETCH(QString, program);
    QFile file(program);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(!bytes.isEmpty());
    QVERIFY(!bytes.contains(QUORVEL_SOURCE_DIR));
    QVERIFY(!bytes.contains(QUORVEL_BUILD_DIR));
}

/// Asked of an object file: in a program, the start-up code that it is linked with may hide the mark.
void TestBuiltPrograms::jumpsAreGuarded()
{
    const ProgramEnd end =
        m_home.run(QStringLiteral(QUORVEL_READELF),
                   {QStringLiteral("--wide"), QStringLiteral("--notes"), QStringLiteral(QUORVEL_OBJECT)});
    QVERIFY2(end.out.contains(QStringLiteral("IBT, SHSTK")) || end.out.contains(QStringLiteral("BTI, PAC")),
             qPrintable(end.out));
}

/// A time in a resource is that of the file in somebody's folder.
void TestBuiltPrograms::resourcesCarryNoTimes()
{
    int files = 0;
    for (const char *folder : {":/icons", ":/models", ":/shaders", ":/xquery"}) {
        QDirIterator resources(QString::fromLatin1(folder), QDir::Files, QDirIterator::Subdirectories);
        for (; resources.hasNext(); ++files) {
            const QFileInfo resource(resources.next());
            QVERIFY2(!resource.lastModified().isValid(), qPrintable(resource.filePath()));
        }
    }
    QVERIFY(files > 30);
}

QTEST_GUILESS_MAIN(TestBuiltPrograms)
#include "tst_builtprograms.moc"
