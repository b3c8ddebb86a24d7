// The search box and the pages of hits: what each key and click calls, in which order, and what is
// on show. The window has the design's own size.

#include "qml/pagesfixture.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlExpression>
#include <QTest>

#include <functional>

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

class SearchPageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void geometry();
    void theBoxTellsByItsBorderThatItIsEdited();
    void thePlaceholderIsFaint();
    void textsToTheLetter();
    void clickOnTheTextTurnsThePages();
    void startScreenKeepsTheBoxShut();
    void everyKeySearches();
    void keysInTheImageTabSearchByImage();
    void emptiedTextClearsTheHits();
    void clearButtonClears();
    void returnAndMagnifierSearchAgain();
    void tabsTurnAndAskForTheOtherHits();
    void theTabOnShowIsUnderlined_data();
    void theTabOnShowIsUnderlined();
    void titlesStandOnlyWithAText();
    void emptyTipNeedsFlagGridAndTab();
    void typingTakesTheTipAway();
    void comingOnShowContinuesBelowThirtyRows_data();
    void comingOnShowContinuesBelowThirtyRows();
    void theListScrollsAndTheGridInItDoesNot();
    void endOfTheListContinues();
    void anEmptiedListIsNotAnEnd();
    void emptyPartsLeave_data();
    void emptyPartsLeave();
    void titlesSwallowClicks();
    void escapeLeaves();
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
    void boxIsOutOfUseOnRequest();
    void titleChip();
};

namespace
{
const QString prefix = QStringLiteral("tavel-ai-yestermark_");

QQuickItem *control(const char *name)
{
    return PagesFixture::control(prefix + QLatin1String(name));
}

QQuickItem *box()
{
    return control("TextField_search");
}

VideoPreviewImageItem hitNumber(const char *kind, int number)
{
    VideoPreviewImageItem hit;
    hit.videoPreviewImageSource =
        QStringLiteral("videoImageProvider/%1%2one").arg(QLatin1String(kind)).arg(number);
    hit.previewImageDate = QStringLiteral("2026/03/04");
    hit.previewImageTime = QStringLiteral("14:05:%1").arg(number % 60, 2, 10, QLatin1Char('0'));
    hit.previewAppIcon = QStringLiteral("application-x-desktop");
    hit.previewAppName = QStringLiteral("Editor %1").arg(number);
    hit.frameLengthOfDay = 100 + 8 * number;
    hit.imageDateIndex = 1;
    return hit;
}

void open(PagesFixture *pages)
{
    pages->videoInfo.appendDay(dayAgo(1, {40, 90, 120}));
    pages->videoInfo.appendDay(dayAgo(0, {40, 9, 300}));
    QVERIFY(pages->show());
    QTRY_VERIFY(pages->view.isActive());
    pages->calls.take();
}

void type(PagesFixture *pages, const char *text)
{
    for (const char *key = text; *key; ++key) {
        QTest::keyClick(&pages->view, *key);
    }
}

void search(PagesFixture *pages, const char *text = "ab")
{
    PagesFixture::click(box());
    type(pages, text);
    pages->calls.take();
}

void addTextHits(PagesFixture *pages, int count)
{
    for (int i = 0; i < count; ++i) {
        pages->videoInfo.addTextHit(hitNumber("textsearch", i));
    }
}

QQuickItem *pageOfHits(PagesFixture *pages)
{
    QQuickItem *found = nullptr;
    PagesFixture::visit(pages->root(), [&found](QQuickItem *item) {
        if (item->property("textNoResult").isValid()) {
            found = item;
        }
    });
    return found;
}

QQuickItem *listOfHits(PagesFixture *pages)
{
    QQuickItem *found = nullptr;
    PagesFixture::visit(pages->root(), [&found](QQuickItem *item) {
        if (item->property("atYEnd").isValid() && item->property("firstRows").isValid()) {
            found = item;
        }
    });
    return found;
}

bool isOnShow(PagesFixture *pages, const char *text)
{
    return PagesFixture::texts(&pages->view).contains(QLatin1String(text));
}

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

/// The first shown item below @p from that is wanted; null if there is none.
QQuickItem *firstOf(QQuickItem *from, const std::function<bool(QQuickItem *)> &isWanted)
{
    QQuickItem *found = nullptr;
    PagesFixture::visit(from, [&](QQuickItem *item) {
        if (!found && item != from && isWanted(item)) {
            found = item;
        }
    });
    return found;
}

QQuickItem *itemOf(QQuickItem *from, const char *type)
{
    return firstOf(from, [type](QQuickItem *item) {
        const QByteArray name = item->metaObject()->className();
        return name == type || name.startsWith(QByteArray(type) + "_QML");
    });
}

QQuickItem *textOf(QQuickItem *from, const char *text)
{
    return firstOf(from, [text](QQuickItem *item) {
        return item->inherits("QQuickText") &&
               item->property("text").toString() == QLatin1String(text);
    });
}

/// A colour of the pages' palette; invalid if they have none of that name.
QColor themeColour(QQuickItem *item, const char *name)
{
    QQmlExpression colour(qmlContext(item), item, QLatin1String("Theme.") + QLatin1String(name));
    return colour.evaluate().value<QColor>();
}

QColor colourOf(QQuickItem *item)
{
    return item->property("color").value<QColor>();
}

const char tip[] = "We couldn't find the results you were looking for";
const QStringList leaving = {QStringLiteral("clearSearchTask()")};
} // namespace

void SearchPageTest::geometry()
{
    PagesFixture pages;
    open(&pages);
    QQuickItem *frame = box()->parentItem();
    QCOMPARE(frame->mapRectToScene(frame->boundingRect()), QRectF(711, 4, 498, 36));
    QCOMPARE(frame->property("radius").toReal(), 6.0);
    search(&pages);
    addTextHits(&pages, 8);
    QCOMPARE(frame->property("border").value<QObject *>()->property("width").toInt(), 2);
    QQuickItem *page = pageOfHits(&pages);
    QCOMPARE(page->mapRectToScene(page->boundingRect()), QRectF(0, 80, 1920, 952));
    QQuickItem *list = listOfHits(&pages);
    QCOMPARE(list->x(), 102.0);
    QCOMPARE(list->height(), 4 * 214.0);
    QTRY_VERIFY(control("ListItem_textHit7"));
    QQuickItem *card = control("ListItem_textHit7");
    QCOMPARE(card->size(), QSizeF(266, 200));
    QCOMPARE(card->property("radius").toReal(), 12.0);
    QCOMPARE(card->mapToItem(list, QPointF(0, 0)), QPointF(290, 214));
    QQuickItem *picture = card->childItems().at(0);
    QVERIFY(picture->inherits("QQuickImage"));
    QCOMPARE(QRectF(picture->position(), picture->size()), QRectF(16, 16, 234, 132));
    QCOMPARE(control("List_textHits")->height(), 2 * 214.0);
    QCOMPARE(pages.warnings(), QStringList());
}

void SearchPageTest::theBoxTellsByItsBorderThatItIsEdited()
{
    PagesFixture pages;
    open(&pages);
    QObject *border = box()->parentItem()->property("border").value<QObject *>();
    const auto colour = [border] { return border->property("color").value<QColor>(); };
    const QColor resting = colour();
    QCOMPARE(border->property("width").toInt(), 1);
    PagesFixture::click(box());
    QCOMPARE(border->property("width").toInt(), 2);
    QCOMPARE(colour(), themeColour(box()->parentItem(), "highlight"));
    QVERIFY(colour() != resting);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QCOMPARE(border->property("width").toInt(), 1);
    QCOMPARE(colour(), resting);
}

void SearchPageTest::thePlaceholderIsFaint()
{
    PagesFixture pages;
    open(&pages);
    QQuickItem *placeholder = textOf(box(), "Enter your memory fragments...");
    QVERIFY(placeholder);
    QCOMPARE(placeholder->opacity(), 0.3);
}

void SearchPageTest::textsToTheLetter()
{
    PagesFixture pages;
    open(&pages);
    QVERIFY(isOnShow(&pages, "Enter your memory fragments..."));
    search(&pages);
    QVERIFY(!isOnShow(&pages, "Enter your memory fragments..."));
    pages.videoInfo.findNothing();
    for (const char *text : {"Search Result:", "Text Matching", "Image Matching", tip}) {
        QVERIFY2(isOnShow(&pages, text), text);
    }
}

void SearchPageTest::clickOnTheTextTurnsThePages()
{
    for (bool dark : {false, true}) {
        PagesFixture pages;
        pages.videoInfo.dark = dark;
        open(&pages);
        QVERIFY(control("Button_menu"));
        QVERIFY(control("Pane_timeAxis"));
        PagesFixture::click(box());
        QVERIFY(!control("Button_menu"));
        QVERIFY(!control("Pane_timeAxis"));
        QQuickItem *veil = nullptr;
        PagesFixture::visit(pages.root(), [&veil](QQuickItem *item) {
            if (QByteArray(item->metaObject()->className()).startsWith("SearchBackground")) {
                veil = item;
            }
        });
        QVERIFY(veil);
        QCOMPARE(veil->opacity(), 0.45);
        QCOMPARE(veil->property("color").value<QColor>(),
                 QColor(QLatin1String(dark ? "#FFFFFF" : "#262626")));
        QVERIFY(pageOfHits(&pages));
        QVERIFY(box()->hasActiveFocus());
    }
}

void SearchPageTest::startScreenKeepsTheBoxShut()
{
    PagesFixture pages;
    pages.videoInfo.startButton = true;
    open(&pages);
    PagesFixture::click(box());
    type(&pages, "abc");
    PagesFixture::click(control("Button_search"));
    QCOMPARE(pages.calls.take(), QStringList());
    QVERIFY(control("Button_start"));
    QVERIFY(!pageOfHits(&pages));
    QCOMPARE(box()->property("text").toString(), QString());
}

void SearchPageTest::everyKeySearches()
{
    PagesFixture pages;
    open(&pages);
    PagesFixture::click(box());
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("clearSearchTask()"),
                                              QStringLiteral("continueShowTextSearchResult()")}));
    type(&pages, "cat");
    QTest::keyClick(&pages.view, Qt::Key_Backspace);
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("showTextSearchResult(c)"),
                                              QStringLiteral("showTextSearchResult(ca)"),
                                              QStringLiteral("showTextSearchResult(cat)"),
                                              QStringLiteral("showTextSearchResult(ca)")}));
}

void SearchPageTest::keysInTheImageTabSearchByImage()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    PagesFixture::click(control("PageTab_imageMatch"));
    pages.calls.take();
    PagesFixture::click(box());
    type(&pages, "c");
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showImageSearchResult(abc)")));
}

void SearchPageTest::emptiedTextClearsTheHits()
{
    PagesFixture pages;
    open(&pages);
    search(&pages, "a");
    QTest::keyClick(&pages.view, Qt::Key_Backspace);
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("showTextSearchResult()"),
                                              QStringLiteral("clearSearchTaskAndResult()")}));
}

void SearchPageTest::clearButtonClears()
{
    PagesFixture pages;
    open(&pages);
    QVERIFY(!control("Button_clearSearch"));
    search(&pages);
    PagesFixture::click(control("Button_clearSearch"));
    QCOMPARE(pages.calls.take(), QStringList({QStringLiteral("showTextSearchResult()"),
                                              QStringLiteral("clearSearchTaskAndResult()"),
                                              QStringLiteral("clearSearchTaskAndResult()")}));
    QCOMPARE(box()->property("text").toString(), QString());
    QVERIFY(pageOfHits(&pages));
    QVERIFY(box()->hasActiveFocus());
    QVERIFY(!control("Button_clearSearch"));
}

void SearchPageTest::returnAndMagnifierSearchAgain()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    const QStringList again(QStringLiteral("showTextSearchResult(ab)"));
    QTest::keyClick(&pages.view, Qt::Key_Return);
    QCOMPARE(pages.calls.take(), again);
    PagesFixture::click(control("Button_search"));
    QCOMPARE(pages.calls.take(), again);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    pages.calls.take();
    PagesFixture::click(control("Button_search")); // the pages turn again
    QVERIFY(pageOfHits(&pages));
    QCOMPARE(pages.calls.take().last(), again.last());
}

void SearchPageTest::tabsTurnAndAskForTheOtherHits()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QQuickItem *page = pageOfHits(&pages);
    QCOMPARE(page->state(), QStringLiteral("textMatch"));
    const auto bold = [](const char *tab) {
        return control(tab)
            ->property("contentItem")
            .value<QQuickItem *>()
            ->property("font")
            .value<QFont>()
            .bold();
    };
    QVERIFY(bold("PageTab_textMatch") && !bold("PageTab_imageMatch"));
    PagesFixture::click(control("PageTab_imageMatch"));
    QCOMPARE(page->state(), QStringLiteral("imageMatch"));
    QVERIFY(!bold("PageTab_textMatch") && bold("PageTab_imageMatch"));
    QCOMPARE(pages.calls.take(),
             QStringList({QStringLiteral("clearSearchTask()"),
                          QStringLiteral("continueShowImageSearchResult(ab)")}));
    pages.videoInfo.addImageHit(hitNumber("imagesearch", 0));
    QTRY_VERIFY(control("ListItem_imageHit0"));
    addTextHits(&pages, 1);
    QVERIFY(!control("ListItem_textHit0"));
    PagesFixture::click(control("PageTab_textMatch"));
    QTRY_VERIFY(control("ListItem_textHit0"));
    QVERIFY(!control("ListItem_imageHit0"));
}

void SearchPageTest::theTabOnShowIsUnderlined_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("half") << QSize(960, 517);
    QTest::newRow("as designed") << QSize(1920, 1034);
    QTest::newRow("twice") << QSize(3840, 2068);
}

void SearchPageTest::theTabOnShowIsUnderlined()
{
    QFETCH(QSize, size);
    PagesFixture pages;
    QVERIFY(pages.show(size));
    QTRY_VERIFY(pages.view.isActive());
    search(&pages);
    const int thickness = qRound(2 * pages.root()->property("heightScaleFactor").toReal());
    const auto underline = [](const char *tab) {
        auto *background = control(tab)->property("background").value<QQuickItem *>();
        return itemOf(background, "QQuickRectangle");
    };
    const auto isAlongTheFoot = [thickness](QQuickItem *line) {
        const QSizeF tab = line->parentItem()->size();
        return QRectF(line->position(), line->size()) ==
               QRectF(0, tab.height() - thickness, tab.width(), thickness);
    };
    QVERIFY(underline("PageTab_textMatch") && !underline("PageTab_imageMatch"));
    QVERIFY(isAlongTheFoot(underline("PageTab_textMatch")));
    PagesFixture::click(control("PageTab_imageMatch"));
    QVERIFY(!underline("PageTab_textMatch") && underline("PageTab_imageMatch"));
    QVERIFY(isAlongTheFoot(underline("PageTab_imageMatch")));
}

void SearchPageTest::titlesStandOnlyWithAText()
{
    PagesFixture pages;
    open(&pages);
    PagesFixture::click(box());
    QVERIFY(!isOnShow(&pages, "Search Result:"));
    QVERIFY(!control("PageTab_textMatch"));
    type(&pages, "a");
    QVERIFY(isOnShow(&pages, "Search Result:"));
    QVERIFY(control("PageTab_textMatch"));
    QTest::keyClick(&pages.view, Qt::Key_Backspace);
    QVERIFY(!control("PageTab_textMatch"));
}

void SearchPageTest::emptyTipNeedsFlagGridAndTab()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QVERIFY(!isOnShow(&pages, tip)); // nothing is known yet
    Q_EMIT pages.videoInfo.textSearchResultIsEmpty();
    QVERIFY(isOnShow(&pages, tip));
    QQuickItem *list = listOfHits(&pages);
    QQuickItem *told = itemOf(list, "NoSearchResult");
    QVERIFY(told);
    QCOMPARE(told->size(), QSizeF(128, 156));
    QCOMPARE(told->mapRectToScene(told->boundingRect()).center().x(), 960.0); // of the window
    QCOMPARE(told->mapRectToItem(list, told->boundingRect()).center().y(),
             list->boundingRect().center().y());
    QQuickItem *picture = itemOf(told, "QQuickImage");
    QVERIFY(picture);
    QCOMPARE(picture->property("source").toString(),
             QStringLiteral("qrc:/image/nosearchresult.png"));
    QVERIFY(picture->implicitHeight() > 0); // there is such a picture
    PagesFixture::click(control("PageTab_imageMatch"));
    QVERIFY(!isOnShow(&pages, tip));
    Q_EMIT pages.videoInfo.imageSearchResultIsEmpty();
    QVERIFY(isOnShow(&pages, tip));
    pages.videoInfo.addImageHit(hitNumber("imagesearch", 0));
    QVERIFY(!isOnShow(&pages, tip));
}

void SearchPageTest::typingTakesTheTipAway()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    pages.videoInfo.findNothing();
    QVERIFY(isOnShow(&pages, tip));
    type(&pages, "c");
    QVERIFY(!isOnShow(&pages, tip));
    PagesFixture::click(control("PageTab_imageMatch"));
    QVERIFY(!isOnShow(&pages, tip));
}

void SearchPageTest::comingOnShowContinuesBelowThirtyRows_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("continues");
    QTest::newRow("none") << 0 << true;
    QTest::newRow("29") << 29 << true;
    QTest::newRow("30") << 30 << false;
    QTest::newRow("36") << 36 << false;
}

void SearchPageTest::comingOnShowContinuesBelowThirtyRows()
{
    QFETCH(int, rows);
    QFETCH(bool, continues);
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, rows);
    PagesFixture::click(control("PageTab_imageMatch"));
    pages.calls.take();
    PagesFixture::click(control("PageTab_textMatch"));
    QCOMPARE(pages.calls.take(),
             continues ? QStringList({"clearSearchTask()", "continueShowTextSearchResult(ab)"})
                       : QStringList());
}

void SearchPageTest::theListScrollsAndTheGridInItDoesNot()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 24);
    QVERIFY(!control("ScrollBar_textHits")); // four rows, all of them in sight
    addTextHits(&pages, 12);
    QQuickItem *list = listOfHits(&pages);
    QQuickItem *bar = control("ScrollBar_textHits");
    QVERIFY(bar);
    QCOMPARE(bar->property("orientation").toInt(), int(Qt::Vertical));
    QCOMPARE(bar->mapRectToItem(list, bar->boundingRect()).right(), list->width());
    list->setProperty("contentY", 214);
    QCOMPARE(bar->property("position").toReal(), 1.0 / 6);
    const auto keyOf = [](QQuickItem *item, const char *property) {
        const QMetaObject *meta = item->metaObject();
        const QMetaProperty found = meta->property(meta->indexOfProperty(property));
        return QByteArray(found.enumerator().valueToKey(found.read(item).toInt()));
    };
    QCOMPARE(keyOf(list, "boundsBehavior"), QByteArray("StopAtBounds"));
    QVERIFY(list->property("interactive").toBool());
    QQuickItem *grid = itemOf(list, "QQuickGridView");
    QVERIFY(grid);
    QVERIFY(!grid->property("interactive").toBool());
    QCOMPARE(keyOf(grid, "flow"), QByteArray("FlowLeftToRight"));
    QCOMPARE(keyOf(grid, "effectiveLayoutDirection"), QByteArray("LeftToRight"));
}

void SearchPageTest::endOfTheListContinues()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 36);
    QCOMPARE(pages.calls.take(), QStringList());
    QQuickItem *list = listOfHits(&pages);
    QVERIFY(!list->property("atYEnd").toBool());
    list->setProperty("contentY", 6 * 214 - 4 * 214 - 1);
    QCOMPARE(pages.calls.take(), QStringList());
    list->setProperty("contentY", 6 * 214 - 4 * 214);
    QVERIFY(list->property("atYEnd").toBool());
    QCOMPARE(pages.calls.take(),
             QStringList({"clearSearchTask()", "continueShowTextSearchResult(ab)"}));
    addTextHits(&pages, 12);
    QVERIFY(!list->property("atYEnd").toBool());
    QCOMPARE(pages.calls.take(), QStringList());
}

void SearchPageTest::anEmptiedListIsNotAnEnd()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, 36);
    QQuickItem *list = listOfHits(&pages);
    list->setProperty("contentY", 300);
    type(&pages, "c"); // the hits go while the search is being started
    QCOMPARE(pages.calls.take(), QStringList(QStringLiteral("showTextSearchResult(abc)")));
    QCOMPARE(list->property("contentY").toReal(), 0.0);
    addTextHits(&pages, 36);
    QCOMPARE(list->property("contentY").toReal(), 0.0);
    QCOMPARE(pages.calls.take(), QStringList());
    QCOMPARE(pages.warnings(), QStringList());
}

void SearchPageTest::emptyPartsLeave_data()
{
    QTest::addColumn<int>("hits");
    QTest::addColumn<QPoint>("point");
    QTest::newRow("background above the page") << 3 << QPoint(300, 60);
    QTest::newRow("page beside the list") << 3 << QPoint(40, 500);
    QTest::newRow("list between two cards") << 12 << QPoint(102 + 278, 80 + 96 + 100);
    QTest::newRow("list below its cards") << 3 << QPoint(500, 800);
    QTest::newRow("list without content") << 0 << QPoint(500, 500);
}

void SearchPageTest::emptyPartsLeave()
{
    QFETCH(int, hits);
    QFETCH(QPoint, point);
    PagesFixture pages;
    open(&pages);
    search(&pages);
    addTextHits(&pages, hits);
    if (hits > 0) {
        QTRY_VERIFY(control("ListItem_textHit0"));
    }
    QTest::mouseClick(&pages.view, Qt::LeftButton, {}, point);
    QCOMPARE(pages.calls.take(), leaving);
    QVERIFY(!pageOfHits(&pages));
    QVERIFY(control("Button_menu"));
    QVERIFY(control("Pane_timeAxis"));
    QCOMPARE(box()->property("text").toString(), QStringLiteral("ab"));
}

void SearchPageTest::titlesSwallowClicks()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QQuickItem *heading = nullptr;
    PagesFixture::visit(pages.root(), [&heading](QQuickItem *item) {
        if (item->property("text").toString() == QLatin1String("Search Result:")) {
            heading = item;
        }
    });
    PagesFixture::click(heading);
    PagesFixture::click(control("PageTab_textMatch"));
    QCOMPARE(pages.calls.take(), QStringList());
    QVERIFY(pageOfHits(&pages));
}

void SearchPageTest::escapeLeaves()
{
    PagesFixture pages;
    open(&pages);
    search(&pages);
    QTest::keyClick(&pages.view, Qt::Key_Escape);
    QCOMPARE(pages.calls.take(), leaving);
    QVERIFY(!pageOfHits(&pages));
    QTRY_VERIFY(control("Pane_timeAxis")->hasActiveFocus());
}

void SearchPageTest::hitOpensInOrder_data()
{
    QTest::addColumn<bool>("text");
    QTest::addColumn<int>("type");
    QTest::newRow("text hit") << true << 2;
    QTest::newRow("image hit") << false << 3;
}

void SearchPageTest::hitOpensInOrder()
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

void SearchPageTest::hitOfADayThatIsNotLoaded()
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

void SearchPageTest::anEqualIdIsLoadedAgain()
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

void SearchPageTest::cardsShowTheirHit()
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

void SearchPageTest::cardsOfSmallWindowsShowTheirHitToo_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1366x768") << QSize(1366, 768);
    QTest::newRow("960x540") << QSize(960, 540);
}

void SearchPageTest::cardsOfSmallWindowsShowTheirHitToo()
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

void SearchPageTest::farCardsLetTheirPictureGo()
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

void SearchPageTest::cardColoursFollowThePointer()
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

void SearchPageTest::hitsByKeyboard()
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

void SearchPageTest::deletionForgetsWhatWasFound_data()
{
    QTest::addColumn<bool>("onRequest");
    QTest::newRow("of all data") << true;
    QTest::newRow("where the clock was set back") << false;
}

void SearchPageTest::deletionForgetsWhatWasFound()
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

void SearchPageTest::boxIsOutOfUseOnRequest()
{
    PagesFixture pages;
    open(&pages);
    pages.root()->setProperty("searchBoxUsable", false);
    PagesFixture::click(box());
    type(&pages, "a");
    QVERIFY(!pageOfHits(&pages));
    pages.root()->setProperty("searchBoxUsable", true);
    PagesFixture::click(box());
    QVERIFY(pageOfHits(&pages));
}

void SearchPageTest::titleChip()
{
    PagesFixture pages;
    open(&pages);
    QQmlComponent component(pages.view.engine(),
                            QUrl(QStringLiteral("qrc:/qml/SearchPageTitle.qml")));
    const QScopedPointer<QObject> chip(component.createWithInitialProperties(
        {{QStringLiteral("text"), QStringLiteral("Title")},
         {QStringLiteral("titleImage"), QUrl(QStringLiteral("qrc:/image/taskbarappicon.svg"))}}));
    auto *item = qobject_cast<QQuickItem *>(chip.data());
    QVERIFY(item);
    QCOMPARE(item->height(), 36.0);
    QCOMPARE(item->property("radius").toReal(), 18.0);
    QCOMPARE(colourOf(item), QColor(Qt::white));
    QQuickItem *label = textOf(item, "Title");
    QVERIFY(label);
    QVERIFY(label->property("font").value<QFont>().bold());
    QCOMPARE(pages.warnings(), QStringList());
}

QTEST_MAIN(SearchPageTest)
#include "searchpagetest.moc"
