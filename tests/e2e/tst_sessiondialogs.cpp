#include "JoinRequestDialog.h"
#include "JoinSessionDialog.h"
#include "MessageCapture.h"
#include "VirtualScreen.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSettings>
#include <QtTest>

#include <cstdio>

using namespace Quorvel;

namespace
{

QString textAt(const QDialog &dialog, int row, int column)
{
    const auto *const layout = qobject_cast<QGridLayout *>(dialog.layout());
    QLayoutItem *const item = layout ? layout->itemAtPosition(row, column) : nullptr;
    if (!item)
        return QStringLiteral("nothing");
    if (const auto *const label = qobject_cast<QLabel *>(item->widget()))
        return label->text();
    if (const auto *const field = qobject_cast<QLineEdit *>(item->widget()))
        return field->text();
    return QStringLiteral("something else");
}

QLineEdit *fieldAt(const QDialog &dialog, int row)
{
    const auto *const layout = qobject_cast<QGridLayout *>(dialog.layout());
    return qobject_cast<QLineEdit *>(layout->itemAtPosition(row, 1)->widget());
}

QPushButton *button(const QDialog &dialog, QDialogButtonBox::StandardButton which)
{
    return dialog.findChild<QDialogButtonBox *>()->button(which);
}

/// The settings of group "SharedSessions".
struct SessionSettings : QSettings
{
    SessionSettings() : QSettings(QCoreApplication::organizationName(), QCoreApplication::applicationName())
    {
        beginGroup(QStringLiteral("SharedSessions"));
    }
};

const QString declined = QStringLiteral("which already has a layout");

} // namespace

class TestSessionDialogs : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void joinDialogAsksForThreeThings();
    void joinDialogRemembers();
    void sessionNumbers_data();
    void sessionNumbers();
    void joinDialogEnds();
    void validatorLivesAsLongAsTheDialog();
    void joinLayoutIsOfferedToTheWindowFirst();

    void requestDialogAsks();
    void namesFromTheNetwork_data();
    void namesFromTheNetwork();
    void requestDialogEnds();
    void requestLayoutIsOfferedToTheWindowFirst();

private:
    QMainWindow m_view;
};

void TestSessionDialogs::init()
{
    QSettings(QCoreApplication::organizationName(), QCoreApplication::applicationName()).clear();
}

// Joining

void TestSessionDialogs::joinDialogAsksForThreeThings()
{
    const JoinSessionDialog dialog(&m_view);
    QVERIFY(!dialog.parent());
    QCOMPARE(textAt(dialog, 0, 0), QStringLiteral("Server:"));
    QCOMPARE(textAt(dialog, 0, 1), QStringLiteral("localhost"));
    QCOMPARE(textAt(dialog, 1, 0), QStringLiteral("Username:"));
    QCOMPARE(textAt(dialog, 1, 1), QStringLiteral("quest"));
    QCOMPARE(textAt(dialog, 2, 0), QStringLiteral("Session number:"));
    QCOMPARE(textAt(dialog, 2, 1), QStringLiteral("11111"));
    const auto *const layout = qobject_cast<QGridLayout *>(dialog.layout());
    const auto *const buttons = qobject_cast<QDialogButtonBox *>(layout->itemAtPosition(3, 1)->widget());
    QVERIFY(buttons);
    QCOMPARE(buttons->orientation(), Qt::Horizontal);
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QVERIFY(!layout->itemAtPosition(3, 0));
    QVERIFY(!SessionSettings().contains(QStringLiteral("server")));
}

void TestSessionDialogs::joinDialogRemembers()
{
    {
        const JoinSessionDialog dialog(&m_view);
        fieldAt(dialog, 0)->setText(QStringLiteral("example.org"));
        fieldAt(dialog, 1)->setText(QStringLiteral("Jo"));
        fieldAt(dialog, 2)->setText(QStringLiteral("22222"));
        QCOMPARE(dialog.server(), QStringLiteral("example.org"));
        QCOMPARE(dialog.userName(), QStringLiteral("Jo"));
        QCOMPARE(dialog.sessionNumber(), QStringLiteral("22222"));
    }
    // Not stored unless it is asked for.
    QCOMPARE(JoinSessionDialog(&m_view).server(), QStringLiteral("localhost"));
    {
        const JoinSessionDialog dialog(&m_view);
        fieldAt(dialog, 0)->setText(QStringLiteral("example.org"));
        fieldAt(dialog, 1)->setText(QStringLiteral("Jo"));
        fieldAt(dialog, 2)->setText(QStringLiteral("22222"));
        dialog.store();
    }
    QCOMPARE(SessionSettings().allKeys(),
             QStringList({QStringLiteral("server"), QStringLiteral("username")}));
    QCOMPARE(SessionSettings().value(QStringLiteral("server")).toString(), QStringLiteral("example.org"));
    QCOMPARE(SessionSettings().value(QStringLiteral("username")).toString(), QStringLiteral("Jo"));
    const JoinSessionDialog next(&m_view);
    QCOMPARE(next.server(), QStringLiteral("example.org"));
    QCOMPARE(next.userName(), QStringLiteral("Jo"));
    QCOMPARE(next.sessionNumber(), QStringLiteral("11111"));
}

void TestSessionDialogs::sessionNumbers_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("first") << "11111"
                           << "11111" << true;
    QTest::newRow("last") << "99999"
                          << "99999" << true;
    QTest::newRow("before the first") << "11110"
                                      << "11110" << false;
    QTest::newRow("too short") << "9999"
                               << "9999" << false;
    QTest::newRow("too long") << "999999"
                              << "99999" << true;
    QTest::newRow("letters") << "a2b2c222"
                             << "22222" << true;
    QTest::newRow("nothing") << ""
                             << "" << false;
}

void TestSessionDialogs::sessionNumbers()
{
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    QFETCH(bool, accepted);
    const JoinSessionDialog dialog(&m_view);
    QLineEdit *const field = fieldAt(dialog, 2);
    field->clear();
    QTest::keyClicks(field, typed);
    QCOMPARE(field->text(), shown);
    QCOMPARE(button(dialog, QDialogButtonBox::Ok)->isEnabled(), accepted);
}

void TestSessionDialogs::joinDialogEnds()
{
    JoinSessionDialog dialog(&m_view);
    dialog.show();
    button(dialog, QDialogButtonBox::Ok)->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
    dialog.show();
    button(dialog, QDialogButtonBox::Cancel)->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(!dialog.isVisible());
}

void TestSessionDialogs::validatorLivesAsLongAsTheDialog()
{
    {
        const JoinSessionDialog dialog(&m_view);
        const auto *const validator = m_view.findChild<QIntValidator *>();
        QVERIFY(validator);
        QCOMPARE(validator->bottom(), 11111);
        QCOMPARE(validator->top(), 99999);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!m_view.findChild<QIntValidator *>());
}

void TestSessionDialogs::joinLayoutIsOfferedToTheWindowFirst()
{
    const QLayout *const layout = m_view.layout();
    const MessageCapture capture;
    const JoinSessionDialog dialog(&m_view);
    QCOMPARE(MessageCapture::lines().size(), 1);
    QVERIFY2(MessageCapture::lines().first().contains(declined), qPrintable(MessageCapture::lines().first()));
    QCOMPARE(m_view.layout(), layout);
    QVERIFY(dialog.layout());
}

// Answering

void TestSessionDialogs::requestDialogAsks()
{
    const JoinRequestDialog dialog(&m_view, QStringLiteral("Jo"));
    QVERIFY(!dialog.parent());
    QCOMPARE(textAt(dialog, 0, 0), QStringLiteral("Accept user Jo to join this shared session?"));
    const auto *const layout = qobject_cast<QGridLayout *>(dialog.layout());
    const auto *const buttons = qobject_cast<QDialogButtonBox *>(layout->itemAtPosition(1, 0)->widget());
    QVERIFY(buttons);
    QCOMPARE(buttons->orientation(), Qt::Horizontal);
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
}

void TestSessionDialogs::namesFromTheNetwork_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    const QString hundred(100, QLatin1Char('n'));
    QTest::newRow("session number") << "11111"
                                    << "11111";
    QTest::newRow("none") << QString() << QString();
    QTest::newRow("markup") << "<img src='x'><b>Jo</b>"
                            << "<img src='x'><b>Jo</b>";
    QTest::newRow("lines") << "J\no\t\x1b"
                           << "J o  ";
    QTest::newRow("turned around") << QStringLiteral("J\u202eo\u2069\u2028") << "J o  ";
    QTest::newRow("cut between surrogates")
        << QString(99, QLatin1Char('n')) + QStringLiteral("\U0001F600") + QLatin1Char('o')
        << QString(99, QLatin1Char('n')) + QChar(0x2026);
    QTest::newRow("a hundred") << hundred << hundred;
    QTest::newRow("more") << hundred + QLatin1Char('o') << hundred + QChar(0x2026);
    QTest::newRow("ten million") << QString(10000000, QLatin1Char('n')) << hundred + QChar(0x2026);
}

void TestSessionDialogs::namesFromTheNetwork()
{
    QFETCH(QString, name);
    QFETCH(QString, shown);
    const JoinRequestDialog dialog(&m_view, name);
    const QLabel *const question = dialog.findChild<QLabel *>();
    QCOMPARE(question->text(), QStringLiteral("Accept user %1 to join this shared session?").arg(shown));
    QCOMPARE(question->textFormat(), Qt::PlainText);
}

void TestSessionDialogs::requestDialogEnds()
{
    JoinRequestDialog dialog(&m_view, QStringLiteral("Jo"));
    dialog.show();
    button(dialog, QDialogButtonBox::Ok)->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    dialog.show();
    button(dialog, QDialogButtonBox::Cancel)->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void TestSessionDialogs::requestLayoutIsOfferedToTheWindowFirst()
{
    const MessageCapture capture;
    const JoinRequestDialog dialog(&m_view, QStringLiteral("Jo"));
    QCOMPARE(MessageCapture::lines().size(), 1);
    QVERIFY2(MessageCapture::lines().first().contains(declined), qPrintable(MessageCapture::lines().first()));
    QVERIFY(dialog.layout());
}

int main(int argc, char *argv[])
{
    const VirtualScreen screen;
    if (!screen.isValid()) {
        std::fprintf(stderr, "no virtual screen: %s\n", qPrintable(screen.errorString()));
        return 1;
    }
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quorvel Project"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    TestSessionDialogs test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_sessiondialogs.moc"
