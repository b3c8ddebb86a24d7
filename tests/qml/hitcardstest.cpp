// The cards of hits: what they show, how one opens and in which order, and when they are gone. The
// window has the design's own size.

#include "qml/searchpageworld.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QTest>

using namespace SearchPageWorld;

// Notes changes of properties among the calls.
class ChangeRecorder : public QObject
{
    Q_OBJECT

public:
    explicit ChangeRecorder(CallRecord *record) : m_record(record) {}

    void watch(QObject *object, const char *property)
    {
        const QMetaObject *meta = object->metaObject();
        connect(object, meta->property(meta->indexOfProperty(property)).notifySignal(), this,
                metaObject()->method(metaObject()->indexOfSlot("note()")));
    }

private Q_SLOTS:
    void note()
    {
        const QMetaMethod signal = sender()->metaObject()->method(senderSignalIndex());
        m_record->add(QString::fromLatin1(signal.name()));
    }

private:
    CallRecord *m_record;
};

class HitCardsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hitOpensInOrder_data();
    void hitOpensInOrder();
    void hitOfADayThatIsNotLoaded();
    void anEqualIdIsLoadedAgain();
    void cardsShowTheirHit();
    void cardsOfSmallWindowsShowTheirHitToo_data();
    void cardsOfSmallWindowsShowTheirHitToo();
    void farCardsLetTheirPictureGo();
    void cardColoursFollowThePointer();
    void hitsByKeyboard();
    void deletionForgetsWhatWasFound_data();
    void deletionForgetsWhatWasFound();
};

namespace
{
/// The axis while its page is hidden.
QObject *hiddenAxis(PagesFixture *pages)
{
    for (QObject *item : pages->root()->findChildren<QObject *>()) {
        if (item->property("clickImageFlickableContentX").isValid()) {
            return item;
        }
    }
    return nullptr;
}
} // namespace

void HitCardsTest::hitOpensInOrder_data()
{
    QTest::addColumn<bool>("text");
    QTest::addColumn<int>("type");
    QTest::newRow("text hit") << true << 2;
    QTest::newRow("image hit") << false << 3;
}

void HitCardsTest::hitOpensInOrder()
{
    QFETCH(bool, text);
    QFETCH(int, type);
    PagesFixture pages;
    open(&pages);
    search(&pages);
    if (!text) {
        PagesFixture::click(control("PageTab_imageMatch"));
        pages.calls.take();
    }
    const VideoPreviewImageItem hit = hitNumber(text ? "textsearch" : "imagesearch", 4);
    text ? pages.videoInfo.addTextHit(hit) : pages.videoInfo.addImageHit(hit);
    const char *card = text ? "ListItem_textHit0" : "ListItem_imageHit0";
    QTRY_VERIFY(control(card));
    QObject *axis = hiddenAxis(&pages);
    pages.root()->setProperty("ocrImageType", 1);
    ChangeRecorder changes(&pages.calls);
    changes.watch(box()->parentItem(), "textInputState");
    changes.watch(axis, "showImgInfoPageImgSource");
    changes.watch(axis, "operateTimeAxis");
    changes.watch(axis, "clickImageFlickableContentX");
    changes.watch(axis, "bigPreviewItemAppName");
    changes.watch(pages.root(), "ocrImageType");
    changes.watch(pages.root(), "ocrImageId");
    PagesFixture::click(control(card));
    QStringList order = pages.calls.take();
    order.removeDuplicates();
    QCOMPARE(order,
             QStringList({"textInputStateChanged()", "clearSearchTask()",
                          "showImgInfoPageImgSourceChanged()", "operateTimeAxisChanged()",
                          "clickImageFlickableContentXChanged()", "bigPreviewItemAppNameChanged()",
                          "ocrImageTypeChanged()", "ocrImageIdChanged()"}));
    QCOMPARE(axis->property("showImgInfoPageImgSource").toString(),
             QLatin1String("image://") + hit.videoPreviewImageSource);
    const qreal date = pages.callAxis("getPreviousDayAppWidth", {1}).toReal();
    QCOMPARE(pages.indicator() + pages.axis("contentX").toReal(), date + hit.frameLengthOfDay);
    QCOMPARE(axis->property("bigPreviewItemAppName").toString(), hit.previewAppName);
    QCOMPARE(axis->property("bigPreviewItemIconSource").toString(), hit.previewAppIcon);
    QCOMPARE(pages.root()->property("ocrImageType").toInt(), type);
    QCOMPARE(pages.root()->property("ocrImageId").toString(), hit.videoPreviewImageSource);
    QVERIFY(!pageOfHits(&pages));
    QVERIFY(pages.imagesAsked.contains(hit.videoPreviewImageSource.mid(19)));
}

void HitCardsTest::hitOfADayThatIsNotLoaded()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    VideoPreviewImageItem hit = hitNumber("textsearch", 2);
    hit.imageDateIndex = -1;
    hit.frameLengthOfDay = -1;
    pages.videoInfo.addTextHit(hit);
    QTRY_VERIFY(control("ListItem_textHit0"));
    PagesFixture::click(control("ListItem_textHit0"));
    QCOMPARE(pages.axis("showImgInfoPageImgSource").toString(),
             QLatin1String("image://") + hit.videoPreviewImageSource);
    // Its place is one before the end of what is loaded.
    QCOMPARE(pages.axis("clickImageFlickableContentX").toReal(),
             pages.axis("contentWidth").toReal() - 1);
    QCOMPARE(pages.axis("contentX").toReal(), pages.axis("flickableMaxContentX").toReal());
    QCOMPARE(pages.warnings(), QStringList());
}

void HitCardsTest::anEqualIdIsLoadedAgain()
{
    PagesFixture pages;
    open(&pages);
    for (int round = 0; round < 2; ++round) {
        PagesFixture::click(box());
        type(&pages, "a");
        pages.videoInfo.addTextHit(hitNumber("textsearch", 0));
        QTRY_VERIFY(control("ListItem_textHit0"));
        pages.imagesAsked.clear();
        PagesFixture::click(control("ListItem_textHit0"));
        QCOMPARE(pages.imagesAsked, QStringList(QStringLiteral("textsearch0one")));
    }
}

void HitCardsTest::cardsShowTheirHit()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    pages.imagesAsked.clear();
    addTextHits(&pages, 3);
    QTRY_VERIFY(control("ListItem_textHit2"));
    QCOMPARE(pages.imagesAsked,
             QStringList({"textsearch0one", "textsearch1one", "textsearch2one"}));
    QQuickItem *card = control("ListItem_textHit2");
    QStringList texts;
    PagesFixture::visit(card, [&texts](QQuickItem *item) {
        if (item->inherits("QQuickText")) {
            texts.append(item->property("text").toString());
        }
    });
    VideoPreviewItem expected; // in the desktop's form of date and time
    expected.setPreviewImageDate(QStringLiteral("2026/03/04"));
    expected.setPreviewImageTime(QStringLiteral("14:05:02"));
    QCOMPARE(texts, QStringList({QStringLiteral("Editor 2"), expected.previewImageDate() +
                                                                 QLatin1Char(' ') +
                                                                 expected.previewImageTime()}));
    QQuickItem *icon = itemOf(card, "TavelIcon");
    QVERIFY(icon);
    QCOMPARE(icon->property("name").toString(), QStringLiteral("application-x-desktop"));
}

void HitCardsTest::cardsOfSmallWindowsShowTheirHitToo_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1366x768") << QSize(1366, 768);
    QTest::newRow("960x540") << QSize(960, 540);
}

void HitCardsTest::cardsOfSmallWindowsShowTheirHitToo()
{
    QFETCH(QSize, size);
    PagesFixture pages;
    QVERIFY(pages.show(size));
    QTRY_VERIFY(pages.view.isActive());
    search(&pages);
    VideoPreviewImageItem hit = hitNumber("textsearch", 0);
    hit.previewAppName = QStringLiteral("An application with a rather long name");
    pages.videoInfo.addTextHit(hit);
    QTRY_VERIFY(control("ListItem_textHit0"));
    QQuickItem *card = control("ListItem_textHit0");
    QList<QRectF> places;
    PagesFixture::visit(card, [&](QQuickItem *item) {
        if (item->inherits("QQuickText")) {
            places.append(item->mapRectToItem(card, item->boundingRect()));
        }
    });
    QCOMPARE(places.size(), 2);
    for (const QRectF &place : qAsConst(places)) {
        QVERIFY(place.width() > 20);
        QVERIFY(card->boundingRect().contains(place));
    }
    QVERIFY(!places.at(0).intersects(places.at(1)));
}

void HitCardsTest::farCardsLetTheirPictureGo()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 120);
    QTRY_VERIFY(control("ListItem_textHit119"));
    const auto hasPicture = [](const char *card) {
        return !control(card)->childItems().at(0)->property("source").toUrl().isEmpty();
    };
    QVERIFY(hasPicture("ListItem_textHit0") && hasPicture("ListItem_textHit47"));
    QVERIFY(!hasPicture("ListItem_textHit48") && !hasPicture("ListItem_textHit119"));
    listOfHits(&pages)->setProperty("contentY", 16 * 214);
    QVERIFY(hasPicture("ListItem_textHit119") && !hasPicture("ListItem_textHit0"));
    listOfHits(&pages)->setProperty("contentY", 0);
    QVERIFY(hasPicture("ListItem_textHit0"));
}

void HitCardsTest::cardColoursFollowThePointer()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 1);
    QTRY_VERIFY(control("ListItem_textHit0"));
    QQuickItem *card = control("ListItem_textHit0");
    const auto look = [card] {
        return qMakePair(colourOf(card),
                         card->property("border").value<QObject *>()->property("width").toInt());
    };
    const auto resting = look();
    QCOMPARE(resting, qMakePair(themeColour(card, "base"), 2));
    pages.hover(PagesFixture::centreOf(card));
    QTRY_VERIFY(look() != resting);
    const auto hovered = look();
    QCOMPARE(hovered, qMakePair(themeColour(card, "midlight"), 1));
    QVERIFY(hovered.first != resting.first);
    QTest::mousePress(&pages.view, Qt::LeftButton, {}, PagesFixture::centreOf(card));
    QCOMPARE(look(), qMakePair(themeColour(card, "mid"), 1));
    QVERIFY(look().first != hovered.first && look().first != resting.first);
    pages.hover(QPoint(40, 900));
    QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, QPoint(40, 900));
}

void HitCardsTest::hitsByKeyboard()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 36);
    QTRY_VERIFY(control("ListItem_textHit35"));
    QTest::keyClick(&pages.view, Qt::Key_Down);
    QVERIFY(control("List_textHits")->hasActiveFocus());
    for (Qt::Key key : {Qt::Key_Right, Qt::Key_Down, Qt::Key_Down, Qt::Key_Left, Qt::Key_Up}) {
        QTest::keyClick(&pages.view, key);
    }
    pages.calls.take();
    QTest::keyClick(&pages.view, Qt::Key_PageDown); // from 6 to 30, which comes into view
    QQuickItem *list = listOfHits(&pages);
    QCOMPARE(list->property("contentY").toReal(), 2 * 214.0);
    QCOMPARE(pages.calls.take().last(), QStringLiteral("continueShowTextSearchResult(ab)"));
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QCOMPARE(pages.root()->property("ocrImageId").toString(),
             hitNumber("textsearch", 30).videoPreviewImageSource);
}

void HitCardsTest::deletionForgetsWhatWasFound_data()
{
    QTest::addColumn<bool>("onRequest");
    QTest::newRow("of all data") << true;
    QTest::newRow("where the clock was set back") << false;
}

void HitCardsTest::deletionForgetsWhatWasFound()
{
    QFETCH(bool, onRequest);
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 3);
    QTRY_VERIFY(control("ListItem_textHit2"));
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    pages.calls.take();
    if (onRequest) {
        pages.showDialog("Button_deleteAllData");
        QQuickWindow *question = PagesFixture::dialog(QStringLiteral("Delete All Data"));
        QVERIFY(question && QTest::qWaitForWindowExposed(question, 20000));
        PagesFixture::click(firstOf(question->contentItem(), [](QQuickItem *item) {
            return item->property("accessibleId").toString() == QLatin1String("Button_confirm");
        }));
        pages.root()->setProperty("settingsPageVisible", false);
    } else {
        pages.showDialog("timeChangeTipVisible");
        QQuickItem *button = control("Button_deleteHistory");
        QVERIFY(button && QTest::qWaitForWindowExposed(button->window(), 20000));
        PagesFixture::click(button);
    }
    const QStringList calls = pages.calls.take();
    QCOMPARE(calls.first(),
             onRequest ? QStringLiteral("clearUserData(4)") : QStringLiteral("deleteHistory()"));
    QCOMPARE(calls.last(), QStringLiteral("clearSearchTaskAndResult()"));

    PagesFixture::click(box());
    QVERIFY(pageOfHits(&pages));
    QVERIFY(!control("ListItem_textHit0"));
    // Nothing more of the former search is asked for either.
    QVERIFY(!pages.calls.take().join(QLatin1Char(' ')).contains(QLatin1String("(ab)")));
}

QTEST_MAIN(HitCardsTest)
#include "hitcardstest.moc"
