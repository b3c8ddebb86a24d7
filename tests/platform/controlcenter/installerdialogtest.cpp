// The installer's page as its user meets it: what is offered, progress, cancelling, trying again,
// keyboard, and a text for every failure.

#include "controlcenter/installerdialog.h"
#include "controlcenter/installtext.h"
#include "installworld.h"

#include <QCheckBox>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

namespace
{
constexpr int PATIENCE = 15000;
const QByteArray CONTENT(20000, 'm');

template <typename Widget>
Widget *find(const QDialog &dialog, const char *type, const char *name)
{
    return dialog.findChild<Widget *>(
        QStringLiteral("tavel-ai-yestermark_%1_%2").arg(QLatin1String(type), QLatin1String(name)));
}
} // namespace

class InstallerDialogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void missingModelsAreOfferedWithTheirSizes();
    void enterInstallsAndEscapeClosesWhenDone();
    void barShowsTheShareThatIsThere();
    void escapeCancelsARunAndThenCloses();
    void closeOfTheWindowCancelsARunFirst();
    void failureIsToldAndCanBeTriedAgain();
    void optionalModelsAreInstalledOnRequestOnly_data();
    void optionalModelsAreInstalledOnRequestOnly();
    void onlyOptionalModelsAreLeft();
    void nothingIsMissing();
    void listThatIsNotInstalledIsTold();
    void everyTextHasItsRoomInEveryState();
    void everyFailureHasATextOfItsOwn();
    void controlsCanBeReachedByTab();

private:
    void open(const QVector<ModelPackage> &packages);
    QString status() const { return find<QLabel>(*m_dialog, "QLabel", "status")->text(); }
    QPushButton *install() const { return find<QPushButton>(*m_dialog, "QPushButton", "install"); }
    QPushButton *cancel() const { return find<QPushButton>(*m_dialog, "QPushButton", "cancel"); }
    QProgressBar *bar() const { return find<QProgressBar>(*m_dialog, "QProgressBar", "progress"); }
    QCheckBox *optional() const { return find<QCheckBox>(*m_dialog, "QCheckBox", "optional"); }

    std::unique_ptr<InstallWorld> m_world;
    std::unique_ptr<ModelInstaller> m_installer;
    std::unique_ptr<InstallerDialog> m_dialog;
};

void InstallerDialogTest::initTestCase()
{
    qRegisterMetaType<InstallResult>();
    QLocale::setDefault(QLocale::c());
}

void InstallerDialogTest::init()
{
    m_world = std::make_unique<InstallWorld>();
    m_installer = std::make_unique<ModelInstaller>(m_world->folder(), m_world->m_registry.loader());
}

void InstallerDialogTest::cleanup()
{
    m_dialog.reset();
    m_installer.reset();
}

void InstallerDialogTest::open(const QVector<ModelPackage> &packages)
{
    m_dialog = std::make_unique<InstallerDialog>(packages, *m_installer);
    m_dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
}

void InstallerDialogTest::missingModelsAreOfferedWithTheirSizes()
{
    open({m_world->addFile(QStringLiteral("e5-small-q4.bin"), CONTENT),
          m_world->addFile(QStringLiteral("other.bin"), CONTENT)});
    QStringList texts;
    for (const QLabel *label : m_dialog->findChildren<QLabel *>()) {
        texts.append(label->text());
    }
    QVERIFY(texts.contains(QStringLiteral("Searching by the meaning of text")));
    QVERIFY(texts.contains(QStringLiteral("other.bin"))); // one that nobody knows a purpose of
    QCOMPARE(texts.count(QStringLiteral("20.0 kB")), 2);
    QCOMPARE(status(), QStringLiteral("40.0 kB to download."));
    QVERIFY(!bar()->isVisible());
    QVERIFY(m_world->m_registry.m_asked.isEmpty()); // nothing happens unasked
}

void InstallerDialogTest::enterInstallsAndEscapeClosesWhenDone()
{
    open({m_world->addFile(QStringLiteral("m"), CONTENT)});
    QTest::keyClick(m_dialog.get(), Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(
        status(), QStringLiteral("Everything is installed. Yestermark can be started now."),
        PATIENCE);
    QVERIFY(!install()->isVisible());
    QCOMPARE(cancel()->text(), QStringLiteral("Close"));
    QCOMPARE(bar()->value(), bar()->maximum());
    QCOMPARE(m_world->content(QStringLiteral("m")), CONTENT);
    const QSignalSpy accepted(m_dialog.get(), &QDialog::accepted);
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(accepted.size(), 1);
}

void InstallerDialogTest::barShowsTheShareThatIsThere()
{
    const ModelPackage first = m_world->addFile(QStringLiteral("a"), CONTENT);
    const ModelPackage second = m_world->addFile(QStringLiteral("b"), CONTENT + CONTENT + CONTENT);
    m_world->download(second).waits = true;
    open({first, second});
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->m_registry.m_asked.size(), 2, PATIENCE);
    QVERIFY(bar()->isVisible());
    QCOMPARE(bar()->value() * 4, bar()->maximum());
    QCOMPARE(bar()->text(), QStringLiteral("20.0 kB of 80.0 kB"));
    QCOMPARE(status(), QStringLiteral("Downloading: b"));
    QVERIFY(!install()->isEnabled());
    QCOMPARE(cancel()->text(), QStringLiteral("Cancel"));
}

void InstallerDialogTest::escapeCancelsARunAndThenCloses()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).waits = true;
    open({package});
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->m_registry.m_asked.size(), 1, PATIENCE);
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(status(),
             QStringLiteral("Cancelled. What can be continued is kept for the next attempt."));
    QVERIFY(!m_installer->isRunning());
    const QSignalSpy rejected(m_dialog.get(), &QDialog::rejected);
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(rejected.size(), 1);
}

void InstallerDialogTest::closeOfTheWindowCancelsARunFirst()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).waits = true;
    open({package});
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->m_registry.m_asked.size(), 1, PATIENCE);
    m_dialog->close();
    QVERIFY(m_dialog->isVisible());
    QVERIFY(!m_installer->isRunning());
    m_dialog->close();
    QVERIFY(!m_dialog->isVisible());
}

void InstallerDialogTest::failureIsToldAndCanBeTriedAgain()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).stopAt = 5000;
    m_world->download(package).ending = {InstallResult::Unreachable, QStringLiteral("no route")};
    open({package});
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(install()->text(), QStringLiteral("Try again"), PATIENCE);
    QVERIFY(install()->isEnabled());
    QVERIFY(status().contains(QStringLiteral("cannot be reached")));
    QCOMPARE(find<QLabel>(*m_dialog, "QLabel", "detail")->text(), QStringLiteral("no route"));
    m_world->download(package).stopAt = -1;
    QTest::keyClick(install(), Qt::Key_Space); // it has the keyboard
    QTRY_COMPARE_WITH_TIMEOUT(m_world->models(), QStringList{"m"}, PATIENCE);
    QCOMPARE(m_world->m_registry.m_asked.last(), QStringLiteral("m.download from 5000"));
    QTRY_VERIFY_WITH_TIMEOUT(!find<QLabel>(*m_dialog, "QLabel", "detail")->isVisible(), PATIENCE);
}

void InstallerDialogTest::optionalModelsAreInstalledOnRequestOnly_data()
{
    QTest::addColumn<bool>("wanted");
    QTest::addColumn<QStringList>("installed");
    QTest::newRow("left out") << false << QStringList{"needed"};
    QTest::newRow("asked for, both of them")
        << true << QStringList{"clip-tokenizer.json", "clip.onnx", "needed"};
}

void InstallerDialogTest::optionalModelsAreInstalledOnRequestOnly()
{
    QFETCH(bool, wanted);
    QFETCH(QStringList, installed);
    ModelPackage picture = m_world->addFile(QStringLiteral("clip.onnx"), CONTENT);
    ModelPackage words = m_world->addFile(QStringLiteral("clip-tokenizer.json"), CONTENT);
    picture.optional = words.optional = true;
    open({m_world->addFile(QStringLiteral("needed"), CONTENT), picture, words});
    QCOMPARE(optional()->text(), QStringLiteral("Searching by what pictures show (optional)"));
    QVERIFY(!optional()->isChecked());
    if (wanted) {
        QTest::keyClick(optional(), Qt::Key_Space);
        QCOMPARE(status(), QStringLiteral("60.0 kB to download."));
    }
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!install()->isVisible(), PATIENCE);
    QCOMPARE(m_world->models(), installed);
    QVERIFY(!optional()->isEnabled());
}

void InstallerDialogTest::onlyOptionalModelsAreLeft()
{
    ModelPackage package = m_world->addFile(QStringLiteral("clip.onnx"), CONTENT);
    package.optional = true;
    open({package});
    QVERIFY(!install()->isEnabled());
    QTest::mouseClick(optional(), Qt::LeftButton, {}, QPoint(8, optional()->height() / 2));
    QVERIFY(install()->isEnabled());
}

void InstallerDialogTest::nothingIsMissing()
{
    open({});
    QCOMPARE(find<QLabel>(*m_dialog, "QLabel", "heading")->text(),
             QStringLiteral("All AI models of Yestermark are installed."));
    QVERIFY(!install()->isVisible());
    QVERIFY(!bar()->isVisible());
    QTest::keyClick(m_dialog.get(), Qt::Key_Return);
    QVERIFY(!m_dialog->isVisible());
}

void InstallerDialogTest::listThatIsNotInstalledIsTold()
{
    open({});
    m_dialog->showProblem(QStringLiteral("/share/models.list: No such file or directory"));
    QVERIFY(find<QLabel>(*m_dialog, "QLabel", "heading")->text().contains("cannot be read"));
    QCOMPARE(find<QLabel>(*m_dialog, "QLabel", "detail")->text(),
             QStringLiteral("/share/models.list: No such file or directory"));
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
}

void InstallerDialogTest::everyTextHasItsRoomInEveryState()
{
    const ModelPackage package = m_world->addFile(QStringLiteral("m"), CONTENT);
    m_world->download(package).waits = true;
    m_world->download(package).stopAt = 0;
    m_world->download(package).ending = {InstallResult::Unreachable,
                                         QStringLiteral("a long detail ").repeated(20)};
    open({package});
    const auto everythingFits = [&] {
        const QList<QLabel *> labels = m_dialog->findChildren<QLabel *>();
        return std::all_of(labels.begin(), labels.end(), [](const QLabel *label) {
            const int needed = label->hasHeightForWidth() ? label->heightForWidth(label->width())
                                                          : label->sizeHint().height();
            return !label->isVisible() || label->height() >= needed;
        });
    };
    QTRY_VERIFY_WITH_TIMEOUT(everythingFits(), PATIENCE);
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->m_registry.m_asked.size(), 1, PATIENCE);
    QTRY_VERIFY_WITH_TIMEOUT(everythingFits(), PATIENCE);
    m_dialog->reject();
    m_world->download(package).waits = false;
    QTest::mouseClick(install(), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(find<QLabel>(*m_dialog, "QLabel", "detail")->isVisible(), PATIENCE);
    QTRY_VERIFY_WITH_TIMEOUT(everythingFits(), PATIENCE);
    m_dialog->resize(m_dialog->minimumWidth(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(everythingFits(), PATIENCE);
}

void InstallerDialogTest::everyFailureHasATextOfItsOwn()
{
    QSet<QString> texts;
    for (int kind = InstallResult::Done; kind <= InstallResult::Failed; ++kind) {
        const QString text = InstallText::result({InstallResult::Kind(kind), {}});
        QVERIFY(text.endsWith(QLatin1Char('.')));
        texts.insert(text);
    }
    QCOMPARE(texts.size(), int(InstallResult::Failed) + 1);
}

void InstallerDialogTest::controlsCanBeReachedByTab()
{
    ModelPackage package = m_world->addFile(QStringLiteral("clip.onnx"), CONTENT);
    package.optional = true;
    open({m_world->addFile(QStringLiteral("needed"), CONTENT), package});
    QSet<QString> reached;
    for (int press = 0; press < 12; ++press) {
        QTest::keyClick(m_dialog.get(), Qt::Key_Tab);
        if (const QWidget *widget = m_dialog->focusWidget()) {
            reached.insert(widget->objectName().section(QLatin1Char('_'), -1));
        }
    }
    for (const char *name : {"optional", "install", "cancel"}) {
        QVERIFY2(reached.contains(QLatin1String(name)), name);
    }
    QVERIFY(!bar()->accessibleName().isEmpty());
}

QTEST_MAIN(InstallerDialogTest)
#include "installerdialogtest.moc"
