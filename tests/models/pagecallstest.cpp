// Every signal and call that pages find, the settings that they edit, and the clipboard that they
// fill.

#include "../app/settingsspy.h"
#include "videoinfofixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QSignalSpy>
#include <QTest>

using DataHandlerDouble::state;

class PageCallsTest : public VideoInfoFixture
{
    Q_OBJECT

private Q_SLOTS:
    void thePagesFindEverySignalAndCall();

    void startingRecordsThenEnablesThenTells();
    void theStartButtonShowsUntilEnabled();
    void theCeilingIsThatOfTheSettings();
    void deletingHistoryOnlyAsksForIt();
    void textsGoToTheClipboard_data();
    void textsGoToTheClipboard();
    void noTextsLeaveTheClipboard();
    void aPagesSparseListGoesToTheClipboard();
};

void PageCallsTest::thePagesFindEverySignalAndCall()
{
    QStringList signalNames;
    QStringList calls;
    const QMetaObject &meta = VideoInfo::staticMetaObject;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        if (method.access() == QMetaMethod::Private) {
            continue; // what its own threads call
        }
        QStringList &names = method.methodType() == QMetaMethod::Signal ? signalNames : calls;
        names.append(QString(method.typeName()) + ' ' + method.methodSignature());
    }
    QCOMPARE(
        signalNames,
        QStringList({"void textMatchResultModelChanged()", "void imageMatchResultModelChanged()",
                     "void imageSearchResultIsEmpty()", "void textSearchResultIsEmpty()",
                     "void videoPreviewImageSourceChanged()", "void startMemoryScreen()",
                     "void screenshotOCRTextDataReady()", "void dayAppModelChanged()",
                     "void maxOccupiedSpaceChanged(int)", "void quitYestermark()",
                     "void themeChanged()", "void backInTimeDetected()",
                     "void deleteHistoryAndReMemory()", "void calledAdjustSystemTime()"}));
    QCOMPARE(calls, QStringList(
                        {"void showPreDayAppData()",
                         "void showPreviewImageItem(int,int,int,int)",
                         "void showPreviewImageItem(int,int,int)",
                         "void showCurShowImageItem(int,int,int)",
                         "void continueShowTextSearchResult(QString)",
                         "void continueShowImageSearchResult(QString)",
                         "void showTextSearchResult(QString)",
                         "void showImageSearchResult(QString)",
                         "void clearSearchTaskAndResult()",
                         "void clearSearchTask()",
                         "void recognizingTextInImage(int,QString,float,float,float,float,QString)",
                         "void cancelRecognizeTextInImage(QString)",
                         "void clearRecognizingTextResult()",
                         "bool clearUserData(int)",
                         "void startMemory()",
                         "bool isPreviewImgEmpty()",
                         "void setClipBoardText(QList<QString>)",
                         "bool startBtnVisible()",
                         "int getMaxOccupiedSpace()",
                         "void setMaxOccupiedSpace(int)",
                         "void showGuide()",
                         "QString getYestermarkVersion()",
                         "int getThemeType()",
                         "void deleteHistory()",
                         "void adjustSystemTime()",
                         "bool isSubsystemAvailable()",
                         "void openSubsystemInstallPage()"}));
    for (const char *name : {"textMatchResultModel", "imageMatchResultModel", "dayAppModel"}) {
        const QMetaProperty property = meta.property(meta.indexOfProperty(name));
        QCOMPARE(property.typeName(), "QAbstractListModel*");
        QVERIFY(!property.isWritable());
        QCOMPARE(property.notifySignal().name(), QByteArray(name) + "Changed");
    }
    const QMetaProperty lines = meta.property(meta.indexOfProperty("imageTextModel"));
    QCOMPARE(lines.typeName(), "QAbstractListModel*");
    QVERIFY(lines.isConstant() && !lines.isWritable());
}

void PageCallsTest::startingRecordsThenEnablesThenTells()
{
    m_facade = std::make_unique<Facade>();
    QStringList writtenBefore;
    connect(&m_facade->info, &VideoInfo::startMemoryScreen, this,
            [&writtenBefore] { writtenBefore = SettingsSpy::writes(); });
    SettingsSpy::clear();
    m_facade->info.startMemory();
    QCOMPARE(writtenBefore, QStringList({"recording-memory", "enabled"}));
    QVERIFY(m_facade->settings.getRecordingMemory() && m_facade->settings.getEnabled());
}

void PageCallsTest::theStartButtonShowsUntilEnabled()
{
    m_facade = std::make_unique<Facade>();
    QVERIFY(m_facade->info.startBtnVisible());
    m_facade->settings.setEnabled(true);
    QVERIFY(!m_facade->info.startBtnVisible());
}

void PageCallsTest::theCeilingIsThatOfTheSettings()
{
    m_facade = std::make_unique<Facade>();
    const QSignalSpy told(&m_facade->info, &VideoInfo::maxOccupiedSpaceChanged);
    for (const int gigabytes : {5, 10, 15}) {
        m_facade->info.setMaxOccupiedSpace(gigabytes);
        QCOMPARE(m_facade->settings.getMaxStorageSize(), static_cast<uint>(gigabytes));
        QCOMPARE(m_facade->info.getMaxOccupiedSpace(), gigabytes);
    }
    QCOMPARE(told.count(), 0);
}

void PageCallsTest::deletingHistoryOnlyAsksForIt()
{
    state().days["2024-03-15"] = {{"/a.desktop", 2}};
    state().deleteUserData = [](TimeRange) {
        qFatal("nothing may be deleted");
        return true;
    };
    m_facade = std::make_unique<Facade>();
    const QSignalSpy asked(&m_facade->info, &VideoInfo::deleteHistoryAndReMemory);
    m_facade->info.deleteHistory();
    QCOMPARE(asked.count(), 1);
    QCOMPARE(days()->rowCount(), 1);
}

void PageCallsTest::textsGoToTheClipboard_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("clipboard");
    QTest::newRow("one") << QStringList{"a"} << "a\n";
    QTest::newRow("in order") << QStringList{"b", "a", "b"} << "b\na\nb\n";
    QTest::newRow("what a page never filled")
        << QStringList{"a", "undefined", "", "NaN", "b"} << "a\nb\n";
    QTest::newRow("nothing else") << QStringList{"", "NaN"} << "";
    QTest::newRow("words within a text") << QStringList{"undefined NaN"} << "undefined NaN\n";
    QTest::newRow("blanks are text") << QStringList{" ", "a\nb"} << " \na\nb\n";
    QTest::newRow("Chinese") << QStringList{"昨日", "書"} << "昨日\n書\n";
}

void PageCallsTest::textsGoToTheClipboard()
{
    QFETCH(QStringList, texts);
    m_facade = std::make_unique<Facade>();
    QGuiApplication::clipboard()->setText("former");
    m_facade->info.setClipBoardText(texts);
    QTEST(QGuiApplication::clipboard()->text(QClipboard::Clipboard), "clipboard");
}

void PageCallsTest::noTextsLeaveTheClipboard()
{
    m_facade = std::make_unique<Facade>();
    QGuiApplication::clipboard()->setText("former");
    m_facade->info.setClipBoardText({});
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("former"));
}

void PageCallsTest::aPagesSparseListGoesToTheClipboard()
{
    m_facade = std::make_unique<Facade>();
    QQmlEngine engine;
    engine.rootContext()->setContextProperty("VideoInfo", &m_facade->info);
    QQmlExpression page(engine.rootContext(), nullptr,
                        "{ var texts = []; texts[1] = 'b'; texts[4] = 'e'; texts[5] = NaN; "
                        "VideoInfo.setClipBoardText(texts) }");
    page.evaluate();
    QVERIFY2(!page.hasError(), qPrintable(page.error().toString()));
    QCOMPARE(QGuiApplication::clipboard()->text(), QString("b\ne\n"));
}

QTEST_MAIN(PageCallsTest)
#include "pagecallstest.moc"
