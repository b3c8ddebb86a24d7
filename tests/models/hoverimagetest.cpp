// The hover's pictures as a page has them: the change of a source loads the picture before the call
// returns, and by then it is known whether there is one.

#include "datahandlerdouble.h"
#include "facade.h"

#include "support/logcapture.h"
#include "support/pictures.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickItemGrabResult>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

using DataHandlerDouble::state;

class TestHoverImage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void thePreviewIsLoadedWhenTheHoverReturns();
    void everyStepOfAHoverShowsItsOwnFrame();
    void theLargePictureIsLoadedWhenTheClickReturns();
    void aGapKeepsTheLargePictureOnThePage();

    void idsNameThePictureOnShow_data();
    void idsNameThePictureOnShow();
    void aPreviewTellsWhetherItIsNull();
    void aProviderThatWasNotAskedHasNoPreview();

private:
    bool hover(int x, int id);
    bool hoverBar(int bar, int x, int id);
    void click(int x, int id);
    QQuickItem *image(const char *name) const;
    /// The number in what the renderer makes of the picture @p name.
    int shownNumber(const char *name);

    std::unique_ptr<Facade> m_facade;
    VideoImageProvider *m_provider = nullptr; // the engine's
    std::unique_ptr<VideoInfo> m_info;
    std::unique_ptr<QQuickView> m_view;
};

void TestHoverImage::initTestCase()
{
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
}

void TestHoverImage::init()
{
    DataHandlerDouble::reset();
    state().days["2023-03-15"] = {{"/a.desktop", 5}, {"/b.desktop", 5}};
    state().draw = [](const DataHandlerDouble::FrameRequest &request) {
        return Pictures::numbered(static_cast<int>(request.frame), QSize(320, 240));
    };
    m_facade = std::make_unique<Facade>();
    m_provider = new VideoImageProvider(&m_facade->reader);
    m_info = std::make_unique<VideoInfo>(m_provider, &m_facade->reader, &m_facade->shown,
                                         &m_facade->settings);
    m_view = std::make_unique<QQuickView>();
    m_view->engine()->addImageProvider("videoImageProvider", m_provider);
    m_view->rootContext()->setContextProperty("VideoInfo", m_info.get());
    m_view->rootContext()->setContextProperty("VideoPreviewItem", &m_facade->shown);
    m_view->setSource(QUrl::fromLocalFile(HOVER_PAGE));
    QCOMPARE(m_view->status(), QQuickView::Ready);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get(), 10000));
}

void TestHoverImage::cleanup()
{
    m_view.reset();
    m_info.reset();
    m_facade.reset();
}

bool TestHoverImage::hover(int x, int id)
{
    QVariant isVisible;
    QMetaObject::invokeMethod(m_view->rootObject(), "hover", Q_RETURN_ARG(QVariant, isVisible),
                              Q_ARG(QVariant, x), Q_ARG(QVariant, id));
    return isVisible.toBool();
}

bool TestHoverImage::hoverBar(int bar, int x, int id)
{
    QVariant isVisible;
    QMetaObject::invokeMethod(m_view->rootObject(), "hoverBar", Q_RETURN_ARG(QVariant, isVisible),
                              Q_ARG(QVariant, bar), Q_ARG(QVariant, x), Q_ARG(QVariant, id));
    return isVisible.toBool();
}

void TestHoverImage::click(int x, int id)
{
    QMetaObject::invokeMethod(m_view->rootObject(), "click", Q_ARG(QVariant, x),
                              Q_ARG(QVariant, id));
}

QQuickItem *TestHoverImage::image(const char *name) const
{
    return m_view->rootObject()->findChild<QQuickItem *>(name);
}

int TestHoverImage::shownNumber(const char *name)
{
    const QSharedPointer<QQuickItemGrabResult> painted = image(name)->grabToImage();
    QSignalSpy ready(painted.data(), &QQuickItemGrabResult::ready);
    return ready.wait(10000) ? Pictures::numberOf(painted->image()) : -1;
}

void TestHoverImage::thePreviewIsLoadedWhenTheHoverReturns()
{
    // All without the event loop in between: a picture that loads later would lag a step behind.
    QVERIFY(hover(4, 1));
    QCOMPARE(image("preview")->implicitWidth(), 320.0);
    QVERIFY(!hover(44, 2)); // the gap
    QCOMPARE(image("preview")->implicitWidth(), 0.0);
    QVERIFY(hover(60, 3));
    QVERIFY(!hover(45, 4));
    QVERIFY(!hover(46, 5));
    QVERIFY(hover(4, 1));
    QVERIFY(!hover(44, 2));
    QVERIFY(hoverBar(1, 0, 6));
    QVERIFY(!hover(-1, 7));
    QVERIFY(hoverBar(0, 40, 8));
}

void TestHoverImage::everyStepOfAHoverShowsItsOwnFrame()
{
    for (int frame = 1; frame <= 5; ++frame) {
        QVERIFY(hover(frame * 8, frame));
        QCOMPARE(shownNumber("preview"), frame);
    }
    QVERIFY(hoverBar(1, 12, 6));
    QCOMPARE(shownNumber("preview"), 7);
}

void TestHoverImage::theLargePictureIsLoadedWhenTheClickReturns()
{
    click(12, 1);
    QCOMPARE(image("large")->implicitHeight(), 240.0);
    QCOMPARE(shownNumber("large"), 2);
    click(20, 2);
    QCOMPARE(shownNumber("large"), 3);
    QCOMPARE(image("preview")->implicitWidth(), 0.0);
}

void TestHoverImage::aGapKeepsTheLargePictureOnThePage()
{
    click(12, 1);
    click(44, 2);
    QCOMPARE(image("large")->property("source").toUrl(),
             QUrl("image://videoImageProvider/curShowImg1"));
    QCOMPARE(shownNumber("large"), 2);
}

void TestHoverImage::idsNameThePictureOnShow_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("number"); // 0: null
    QTest::newRow("preview") << "previewImg3" << 1;
    QTest::newRow("preview of another number") << "previewImg999" << 1;
    QTest::newRow("preview without a number") << "previewImg" << 1;
    QTest::newRow("large picture") << "curShowImg3" << 5;
    QTest::newRow("large picture without a number") << "curShowImg" << 5;
    QTest::newRow("the preview is looked for first") << "curShowImg_previewImg" << 1;
    QTest::newRow("anywhere in the id") << "x/curShowImg" << 5;
    QTest::newRow("none") << "" << 0;
    QTest::newRow("another") << "thumbnail1" << 0;
    QTest::newRow("another case") << "previewimg1" << 0;
}

void TestHoverImage::idsNameThePictureOnShow()
{
    QFETCH(QString, id);
    QFETCH(int, number);
    m_facade->reader.getVideoPreviewImgItem(0, 4, 3);
    m_facade->reader.getCurShowImageSource(0, 36, 3);
    QSize size(-7, -7);
    const QImage image = m_facade->provider.requestImage(id, &size, QSize(10, 10));
    QCOMPARE(image.isNull(), number == 0);
    if (number != 0) {
        QCOMPARE(Pictures::numberOf(image), number);
        QCOMPARE(image.size(), QSize(320, 240)); // never scaled
    }
    QCOMPARE(size, QSize(-7, -7)); // never written
    QCOMPARE(m_facade->provider.imageType(), QQmlImageProviderBase::Image);
    QCOMPARE(m_facade->provider.flags(), QQmlImageProviderBase::Flags());
}

void TestHoverImage::aPreviewTellsWhetherItIsNull()
{
    VideoImageProvider &provider = m_facade->provider;
    m_facade->reader.getVideoPreviewImgItem(0, 4, 1);
    QVERIFY(!provider.requestImage("previewImg1", nullptr, QSize()).isNull());
    QVERIFY(!provider.isPreviewImgNull());
    m_facade->reader.getVideoPreviewImgItem(0, 44, 2);
    QVERIFY(!provider.isPreviewImgNull()); // not asked for yet
    QVERIFY(provider.requestImage("previewImg", nullptr, QSize()).isNull());
    QVERIFY(provider.isPreviewImgNull());
    m_facade->reader.getCurShowImageSource(0, 4, 1);
    provider.requestImage("curShowImg1", nullptr, QSize());
    QVERIFY(provider.isPreviewImgNull()); // large pictures leave it alone
}

void TestHoverImage::aProviderThatWasNotAskedHasNoPreview()
{
    QVERIFY(m_facade->provider.isPreviewImgNull());
    QVERIFY(m_facade->info.isPreviewImgEmpty());
}

QTEST_MAIN(TestHoverImage)
#include "hoverimagetest.moc"
