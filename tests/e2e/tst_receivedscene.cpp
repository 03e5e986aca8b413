#include "MessageCapture.h"
#include "NetworkMessage.h"
#include "RecordSamples.h"
#include "ViewerWindow.h"

using namespace Quorvel;

namespace
{

const QString loading = QStringLiteral("Loading model from shared session...");
const QString logo = QStringLiteral(":/models/logo.DAE");

/// Everything that the status bar says, each with the name of the scene that is there at that moment.
class StatusLog : public QObject
{
public:
    explicit StatusLog(const MainView &view)
    {
        connect(view.statusBar(), &QStatusBar::messageChanged, this, [this, &view](const QString &text) {
            texts.append(text);
            scenes.append(view.scene()->name());
        });
    }

    QStringList texts;
    QStringList scenes;
};

NetworkMessage sceneMessage(const QByteArray &data)
{
    NetworkMessage message(NetworkMessage::SceneRecord);
    message.data = data;
    return message;
}

} // namespace

/// What the status bar says while a scene of the shared session is read.
class TestReceivedScene : public QObject
{
    Q_OBJECT

private slots:
    void statusWhileItIsRead();
    void statusOfARefusedOne();
};

void TestReceivedScene::statusWhileItIsRead()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QString banner = window.status();
    const StatusLog log(window.view);
    // The record's own name is "s".
    window.view.messageReceived(sceneMessage(qCompress(completeRecord(QStringLiteral("n1")).bytes())));
    QCOMPARE(log.texts, QStringList({loading, banner}));
    QCOMPARE(log.scenes, QStringList({logo, QStringLiteral("s")}));
    QCOMPARE(window.status(), banner);
}

void TestReceivedScene::statusOfARefusedOne()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QString banner = window.status();
    const StatusLog log(window.view);
    {
        const MessageCapture capture;
        window.view.messageReceived(sceneMessage("no scene"));
        QCOMPARE(MessageCapture::lines().size(), 1);
    }
    QCOMPARE(log.texts, QStringList({loading, banner}));
    QCOMPARE(log.scenes, QStringList({logo, logo}));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestReceivedScene>(argc, argv);
}

#include "tst_receivedscene.moc"
