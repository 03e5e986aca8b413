#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

/// Every shader of the resources is GLSL ES 1.00, alone and linked with its other stage, and follows the
/// house rules.
class TestShaders : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void compiles_data() { addShaderRows(); }
    void compiles();
    void links_data();
    void links();
    void startsWithWhatItIsFor_data() { addShaderRows(); }
    void startsWithWhatItIsFor();
    void hasGuardedDefaultPrecision_data() { addShaderRows(); }
    void hasGuardedDefaultPrecision();

private:
    void addShaderRows() const;
    /// Copies a shader to `folder` with its language version and the suffix that tells its stage, and returns
    /// the copy's path.
    static QString validatorInput(const QString &shader, const QTemporaryDir &folder);
    void validate(const QStringList &arguments) const;

    QString m_validator;
    QStringList m_shaders;
};

namespace
{

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

void TestShaders::initTestCase()
{
    m_validator = QStandardPaths::findExecutable(QStringLiteral("glslangValidator"));
    QVERIFY2(!m_validator.isEmpty(), "glslangValidator is not installed");
    QDirIterator files(QStringLiteral(":/shaders"), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        m_shaders.append(files.next());
    m_shaders.sort();
    QVERIFY(m_shaders.size() >= 6);

    QStringList onDisk;
    const QDir folder(QStringLiteral(QUORVEL_SOURCE_DIR "/resources/shaders"));
    QDirIterator sources(folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (sources.hasNext())
        onDisk.append(QStringLiteral(":/shaders/") + folder.relativeFilePath(sources.next()));
    onDisk.sort();
    QCOMPARE(m_shaders, onDisk);
}

void TestShaders::addShaderRows() const
{
    QTest::addColumn<QString>("shader");
    for (const QString &shader : m_shaders)
        QTest::newRow(qPrintable(shader)) << shader;
}

QString TestShaders::validatorInput(const QString &shader, const QTemporaryDir &folder)
{
    QFile copy(folder.filePath(shader.endsWith(QLatin1String(".vsh")) ? QStringLiteral("shader.vert")
                                                                      : QStringLiteral("shader.frag")));
    if (!copy.open(QIODevice::WriteOnly))
        return {};
    copy.write("#version 100\n" + readAll(shader));
    return copy.fileName();
}

void TestShaders::validate(const QStringList &arguments) const
{
    QProcess validator;
    validator.start(m_validator, arguments);
    QVERIFY(validator.waitForFinished());
    const QByteArray output = validator.readAll();
    QVERIFY2(validator.exitStatus() == QProcess::NormalExit && validator.exitCode() == 0, output.constData());
    QVERIFY2(!output.contains("WARNING"), output.constData());
}

void TestShaders::compiles()
{
    QFETCH(QString, shader);
    const QTemporaryDir folder;
    validate({validatorInput(shader, folder)});
}

void TestShaders::links_data()
{
    QTest::addColumn<QString>("vertexShader");
    for (const QString &shader : qAsConst(m_shaders)) {
        if (shader.endsWith(QLatin1String(".vsh")))
            QTest::newRow(qPrintable(shader)) << shader;
    }
}

void TestShaders::links()
{
    QFETCH(QString, vertexShader);
    const QString fragmentShader = vertexShader.chopped(4) + QStringLiteral(".fsh");
    QVERIFY(m_shaders.contains(fragmentShader));
    const QTemporaryDir folder;
    validate(
        {QStringLiteral("-l"), validatorInput(vertexShader, folder), validatorInput(fragmentShader, folder)});
}

void TestShaders::startsWithWhatItIsFor()
{
    QFETCH(QString, shader);
    const QList<QByteArray> lines = readAll(shader).split('\n');
    for (int i = 0; i < 3; ++i)
        QVERIFY2(lines.value(i).startsWith("// "), lines.value(i).constData());
    QVERIFY(!lines.value(3).startsWith("//"));
}

void TestShaders::hasGuardedDefaultPrecision()
{
    QFETCH(QString, shader);
    const QByteArray source = readAll(shader);
    const int guard = source.indexOf("#ifdef GL_ES\nprecision mediump float;\n#endif\n");
    QVERIFY(guard >= 0);
    // Only the opening comment stands before it.
    for (const QByteArray &line : source.left(guard).split('\n'))
        QVERIFY2(line.isEmpty() || line.startsWith("//"), line.constData());
}

QTEST_APPLESS_MAIN(TestShaders)

#include "tst_shaders.moc"
