#include "ForwardPainter.h"
#include "GlLane.h"
#include "Gles2.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"
#include "SceneSketch.h"

#include <QtTest>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

class QGLShaderProgram;

namespace
{

/// What this thread has asked for since counting began, by the viewer's own code and by the toolkit for it.
struct Counts
{
    int allocations = 0;
    int lookUps = 0;
};

thread_local bool t_isCounting = false;
thread_local Counts t_counts;

/// The driver allocates as it likes; its libraries are neither this program nor the toolkit's.
bool isOurs(const void *caller)
{
    Dl_info info;
    if (!dladdr(caller, &info) || !info.dli_fname)
        return false;
    const char *const slash = std::strrchr(info.dli_fname, '/');
    const char *const file = slash ? slash + 1 : info.dli_fname;
    return std::strncmp(file, "tst_framecost", 13) == 0 || std::strncmp(file, "libQt5", 6) == 0 ||
           std::strncmp(file, "libstdc++", 9) == 0;
}

void countAllocation(const void *caller)
{
    if (!t_isCounting)
        return;
    t_isCounting = false;
    t_counts.allocations += isOurs(caller) ? 1 : 0;
    t_isCounting = true;
}

} // namespace

// Stand before those of the C library and of the toolkit for the whole process.

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

extern "C" void *malloc(size_t size)
{
    countAllocation(__builtin_return_address(0));
    return __libc_malloc(size);
}

extern "C" void *calloc(size_t count, size_t size)
{
    countAllocation(__builtin_return_address(0));
    return __libc_calloc(count, size);
}

extern "C" void *realloc(void *block, size_t size)
{
    countAllocation(__builtin_return_address(0));
    return __libc_realloc(block, size);
}

constexpr const char *uniformLocationSymbol = "_ZNK16QGLShaderProgram15uniformLocationEPKc";
int lookUpUniform(const QGLShaderProgram *program,
                  const char *name) __asm__("_ZNK16QGLShaderProgram15uniformLocationEPKc");

int lookUpUniform(const QGLShaderProgram *program, const char *name)
{
    using LookUp = int (*)(const QGLShaderProgram *, const char *);
    static const auto toolkits = reinterpret_cast<LookUp>(dlsym(RTLD_NEXT, uniformLocationSymbol));
    ++t_counts.lookUps;
    return toolkits(program, name);
}

using namespace Quorvel;
using namespace Quorvel::Test;

/// A frame of a scene that has been drawn before allocates nothing, and so builds no string either, and looks
/// up no uniform by name.
class TestFrameCost : public QObject
{
    Q_OBJECT

public:
    explicit TestFrameCost(OffscreenContext &context) : m_context(context) {}

private slots:
    void countersCount();
    void frameAllocatesNothing_data();
    void frameAllocatesNothing();

private:
    OffscreenContext &m_context;
};

namespace
{

constexpr int side = 12;

/// A floor of quads in two materials, one of them transparent, under lights of all kinds.
std::unique_ptr<SceneSketch> makeSketch()
{
    auto sketch = std::make_unique<SceneSketch>();
    Material *paint = sketch->material(QStringLiteral("paint"));
    paint->setDiffuse(Qt::white);
    Material *glass = sketch->material(QStringLiteral("glass"));
    glass->setTransparency(0.5f);
    for (int i = 0; i < side * side; ++i) {
        QMatrix4x4 place;
        place.translate(float(i % side) - 0.5f * side, float(i / side) - 0.5f * side);
        sketch->quadNode({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, i % 3 ? paint : glass, place);
    }
    QMatrix4x4 above;
    above.translate(0, 0, 2.0f * side);
    sketch->camera(above);
    for (const int type : {Light::AmbientLight, Light::PointLight, Light::SpotLight, Light::DirectionalLight})
        sketch->light(type, Qt::gray, above)->setShadow(true);
    return sketch;
}

} // namespace

void TestFrameCost::countersCount()
{
    t_counts = Counts();
    t_isCounting = true;
    const QString text = QString::number(QRandomGenerator::global()->bounded(100000)) + QLatin1Char('x');
    t_isCounting = false;
    QVERIFY(!text.isEmpty());
    QVERIFY(t_counts.allocations > 0);
    const ForwardPainter painter;
    QVERIFY(t_counts.lookUps > 0);
}

void TestFrameCost::frameAllocatesNothing_data()
{
    QTest::addColumn<bool>("lowQuality");
    QTest::addColumn<bool>("shadows");
    QTest::addColumn<bool>("occlusion");
    QTest::addColumn<bool>("outlines");

    QTest::newRow("plain") << false << false << false << false;
    QTest::newRow("low quality") << true << true << true << true;
    QTest::newRow("shadows") << false << true << false << false;
    QTest::newRow("occlusion") << false << false << true << false;
    QTest::newRow("outlines") << false << false << false << true;
    QTest::newRow("everything") << false << true << true << true;
}

void TestFrameCost::frameAllocatesNothing()
{
    QFETCH(bool, lowQuality);
    QFETCH(bool, shadows);
    QFETCH(bool, occlusion);
    QFETCH(bool, outlines);

    const auto sketch = makeSketch();
    PainterState state(&sketch->scene());
    state.setViewport(QRectF(QPointF(0, 0), QSizeF(m_context.size())));
    state.setAspect(float(m_context.size().width()) / float(m_context.size().height()));
    state.setLowQuality(lowQuality);
    state.setCastShadows(shadows);
    state.setAmbientOcclusion(occlusion);
    state.setOutlines(outlines);
    state.update();
    ForwardPainter painter;
    painter.prepare(state);
    painter.paint(state);
    QCOMPARE(state.frustum().visibleItems().size(), side * side);

    t_counts = Counts();
    t_isCounting = true;
    state.update();
    painter.paint(state);
    t_isCounting = false;
    QCOMPARE(t_counts.allocations, 0);
    QCOMPARE(t_counts.lookUps, 0);
    QCOMPARE(glErrors(), QStringList());
}

int main(int argc, char **argv)
{
    return GlLane::run<TestFrameCost>(argc, argv);
}

#include "tst_framecost.moc"
