#include "SceneExercise.h"
#include "SceneRecordCheck.h"

#include <QByteArray>
#include <QtGlobal>

using namespace Quorvel;

static void ignoreMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

/// The bytes are a scene record. What passes the check must do everything that a received scene goes through,
/// and be written so that it passes again and says the same.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const auto record = QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
    if (!SceneRecordCheck(record).isSound())
        return 0;
    const QtMessageHandler handler = qInstallMessageHandler(&ignoreMessage);
    const QByteArray written = exerciseScene(record);
    const QByteArray again = exerciseScene(written);
    qInstallMessageHandler(handler);
    Q_ASSERT(SceneRecordCheck(written).isSound());
    Q_ASSERT(again == written);
    return 0;
}
