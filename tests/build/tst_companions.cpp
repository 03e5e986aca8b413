#include "ProgramHome.h"

#include <QtTest>

using namespace Quorvel::Test;

/// A library that only a program beside the viewer needs leaves that program out, and nothing else.
class TestCompanions : public QObject
{
    Q_OBJECT

private slots:
    void missingLibraryLeavesItsProgramOut_data();
    void missingLibraryLeavesItsProgramOut();
    void newerRayTracerIsTaken();

private:
    ProgramHome m_home;
};

namespace
{

const QString baker = QStringLiteral("quorvel-bake");

/// Configures the project in the folder, as on a machine with other libraries; nothing is built. What an
/// earlier call there said of libraries is forgotten, what it found out about the compiler is not.
ProgramEnd configure(const ProgramHome &home, const QStringList &variables)
{
    QStringList arguments{QStringLiteral("-S"),
                          QStringLiteral(QUORVEL_SOURCE_DIR),
                          QStringLiteral("-B"),
                          home.path(),
                          QStringLiteral("-G"),
                          QStringLiteral("Ninja"),
                          QStringLiteral("-UCMAKE_DISABLE_FIND_PACKAGE_*"),
                          QStringLiteral("-USTB_INCLUDE_DIR")};
    for (const QString &variable : variables)
        arguments.append(QStringLiteral("-D") + variable);
    return home.run(QStringLiteral(QUORVEL_CMAKE), arguments);
}

QString readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// Writes what find_package() reads of a package.
void describePackage(const ProgramHome &home, const QString &name, const QByteArray &version,
                     const QByteArray &text)
{
    const QString folder =
        home.path(QStringLiteral("lib/cmake/%1-%2").arg(name, QString::fromLatin1(version)));
    QDir().mkpath(folder);
    QFile config(folder + QStringLiteral("/%1-config.cmake").arg(name));
    QFile versionConfig(folder + QStringLiteral("/%1-config-version.cmake").arg(name));
    QVERIFY(config.open(QIODevice::WriteOnly) && versionConfig.open(QIODevice::WriteOnly));
    config.write(text);
    versionConfig.write("set(PACKAGE_VERSION " + version +
                        ".0)\n"
                        "if(PACKAGE_FIND_VERSION_MAJOR EQUAL " +
                        version +
                        ")\n"
                        "    set(PACKAGE_VERSION_COMPATIBLE TRUE)\n"
                        "endif()\n");
}

} // namespace

void TestCompanions::missingLibraryLeavesItsProgramOut_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("missing");
    const auto package = [](const char *name) {
        return QStringLiteral("CMAKE_DISABLE_FIND_PACKAGE_%1=ON").arg(QLatin1String(name));
    };
    QTest::newRow("Embree") << package("embree") << baker << QStringLiteral("Embree 4 or 3");
    QTest::newRow("TBB") << package("TBB") << baker << QStringLiteral("TBB");
    QTest::newRow("stb") << QStringLiteral("STB_INCLUDE_DIR:PATH=") << baker << QStringLiteral("stb");
    QTest::newRow("robin-map") << package("tsl-robin-map") << baker << QStringLiteral("robin-map");
    QTest::newRow("Google Benchmark")
        << package("benchmark") << QStringLiteral("bench_frame") << QStringLiteral("Google Benchmark");
}

void TestCompanions::missingLibraryLeavesItsProgramOut()
{
    QFETCH(QString, variable);
    QFETCH(QString, program);
    QFETCH(QString, missing);
    const ProgramEnd end = configure(m_home, {variable});
    QVERIFY2(end.status == 0, qPrintable(end.err));

    const QStringList said = end.out.split(QLatin1Char('\n')).filter(program + QLatin1Char(' '));
    QCOMPARE(said.size(), 1);
    QVERIFY2(said.first().startsWith(QStringLiteral("-- %1 is left out: no ").arg(program)) &&
                 said.first().contains(missing),
             qPrintable(said.first()));

    const QString build = readAll(m_home.path(QStringLiteral("build.ninja")));
    QVERIFY(build.contains(QStringLiteral("\nbuild src/quorvel:")));
    QVERIFY(!build.contains(QStringLiteral("/%1:").arg(program)));
    const QString tests = readAll(m_home.path(QStringLiteral("tests/unit/CTestTestfile.cmake")));
    QVERIFY(tests.contains(QStringLiteral("/tst_scene\"")));
    QCOMPARE(tests.contains(QStringLiteral("/tst_bakelight\"")), program != baker);
    const QString pages = readAll(m_home.path(QStringLiteral("packaging/cmake_install.cmake")));
    QVERIFY(pages.contains(QStringLiteral("/quorvel.1")));
    QCOMPARE(pages.contains(QStringLiteral("/quorvel-bake.1")), program != baker);
}

/// Where both are installed, the one that is still maintained.
void TestCompanions::newerRayTracerIsTaken()
{
    const ProgramHome home;
    describePackage(home, QStringLiteral("TBB"), "2021", "add_library(TBB::tbb INTERFACE IMPORTED)\n");
    describePackage(home, QStringLiteral("tsl-robin-map"), "1", "");
    for (const char *version : {"3", "4"})
        describePackage(home, QStringLiteral("embree"), version, "add_library(embree INTERFACE IMPORTED)\n");
    const ProgramEnd end = configure(home, {QStringLiteral("CMAKE_PREFIX_PATH=") + home.path(),
                                            QStringLiteral("STB_INCLUDE_DIR:PATH=") + home.path()});
    QVERIFY2(end.status == 0, qPrintable(end.err));
    const QString build = readAll(home.path(QStringLiteral("build.ninja")));
    QVERIFY(build.contains(QStringLiteral("-DQUORVEL_EMBREE=4")));
    QVERIFY(!build.contains(QStringLiteral("-DQUORVEL_EMBREE=3")));
}

QTEST_GUILESS_MAIN(TestCompanions)
#include "tst_companions.moc"
