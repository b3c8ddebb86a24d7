// What a drag marks of recognised lines: each rule by itself, and pages of 60 lines under any drag
// against a plain model of the rules.

#include "qml/pagesfixture.h"
#include "qml/selectionmodel.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <cmath>

class TextSelectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void rules_data();
    void rules();
    void anyDragIsAsInTheModel_data();
    void anyDragIsAsInTheModel();
    void pageOfSixtyLines_data();
    void pageOfSixtyLines();

private:
    SelectionPart partByPages(const QRectF &box, const SelectionDrag &drag);

    QQmlEngine m_engine;
    QScopedPointer<QObject> m_rules;
};

namespace
{
const QRectF box(100, 50, 200, 20);
const QPointF none(-1, -1);

QQuickItem *control(const char *name)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(name));
}

/// 60 lines in two columns of 30, all letters of a line alike.
QVector<OCRTextData> sixtyLines()
{
    QVector<OCRTextData> lines;
    for (int i = 0; i < 60; ++i) {
        const int column = i / 30;
        const QRectF rect(20 + 600 * column + 10 * (i % 3), 12 + 34 * (i % 30), 480, 26);
        lines.append({QString(24, QLatin1Char(char('a' + i % 26))),
                      {rect.topLeft(), rect.topRight(), rect.bottomRight(), rect.bottomLeft()}});
    }
    return lines;
}

QVector<QRectF> boxesOnShow()
{
    QVector<QRectF> boxes;
    for (int i = 0; i < 60; ++i) {
        QQuickItem *item = control(qPrintable(QStringLiteral("StaticText_line%1").arg(i)));
        boxes.append(QRectF(item->position(), item->size()));
    }
    return boxes;
}

/// True where an end of a mark stands on the middle of a letter: on either side of it is right.
bool isUndecided(const QVector<QRectF> &boxes, const SelectionDrag &drag)
{
    const auto onMiddle = [](double at, const QRectF &rect) {
        const double letter = at / rect.width() * 24;
        return std::abs(letter - std::floor(letter) - 0.5) < 0.03;
    };
    return std::any_of(boxes.begin(), boxes.end(), [&](const QRectF &rect) {
        const SelectionPart part = selectionPart(rect, drag);
        return part.shown && (onMiddle(part.from, rect) || onMiddle(part.to, rect));
    });
}

QStringList textByModel(const QVector<QRectF> &boxes, const SelectionDrag &drag)
{
    QStringList texts;
    const QVector<OCRTextData> lines = sixtyLines();
    for (int i = 0; i < boxes.size(); ++i) {
        texts.append(lettersBetween(lines.at(i).text, boxes.at(i).width(),
                                    selectionPart(boxes.at(i), drag)));
    }
    const bool isAnyMarked = texts.count(QString()) < texts.size();
    return isAnyMarked ? texts : QStringList();
}
} // namespace

void TextSelectionTest::initTestCase()
{
    QQmlComponent component(&m_engine);
    component.setData("import QtQml 2.12\n"
                      "import 'qrc:/qml/TextSelection.js' as TextSelection\n"
                      "QtObject {\n"
                      "  function part(box, drag) {\n"
                      "    return [TextSelection.isMarked(box, drag),\n"
                      "            TextSelection.markedSpan(box, drag)]\n"
                      "  }\n"
                      "}",
                      QUrl(QStringLiteral("qrc:/qml/test.qml")));
    m_rules.reset(component.create());
    QVERIFY2(m_rules, qPrintable(component.errorString()));
}

SelectionPart TextSelectionTest::partByPages(const QRectF &box, const SelectionDrag &drag)
{
    const QVariantMap where = {{QStringLiteral("x"), box.x()},
                               {QStringLiteral("y"), box.y()},
                               {QStringLiteral("width"), box.width()},
                               {QStringLiteral("height"), box.height()}};
    const QVariantMap did = {{QStringLiteral("press"), drag.press},
                             {QStringLiteral("current"), drag.current},
                             {QStringLiteral("doubleClick"), drag.doubleClick},
                             {QStringLiteral("all"), drag.all}};
    QVariant answer;
    QMetaObject::invokeMethod(m_rules.data(), "part", Q_RETURN_ARG(QVariant, answer),
                              Q_ARG(QVariant, where), Q_ARG(QVariant, did));
    const QVariantList list = answer.value<QJSValue>().toVariant().toList();
    const QVariantMap span = list.at(1).toMap();
    const double from = span.value(QStringLiteral("x")).toDouble();
    return {list.at(0).toBool(), from, from + span.value(QStringLiteral("width")).toDouble()};
}

void TextSelectionTest::rules_data()
{
    QTest::addColumn<QPointF>("press");
    QTest::addColumn<QPointF>("current");
    QTest::addColumn<QPointF>("doubleClick");
    QTest::addColumn<bool>("all");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    const auto row = [](const char *name, QPointF press, QPointF current, bool shown, int from,
                        int to) {
        QTest::newRow(name) << press << current << none << false << shown << from << to;
    };
    QTest::newRow("select-all") << none << none << none << true << true << 0 << 200;
    QTest::newRow("double click in the box")
        << QPointF(150, 60) << QPointF(150, 60) << QPointF(150, 60) << false << true << 0 << 200;
    QTest::newRow("double click elsewhere")
        << QPointF(10, 10) << QPointF(10, 10) << QPointF(10, 10) << false << false << 0 << 0;
    row("nothing yet", none, none, false, 0, 0);
    row("both in, rightwards", {150, 60}, {220, 62}, true, 50, 120);
    row("both in, leftwards", {220, 60}, {150, 58}, true, 50, 120);
    row("both in, at its ends", {100, 50}, {300, 70}, true, 0, 200);
    row("pressed in it, no way", {150, 60}, {150, 60}, true, 50, 50);
    row("pressed in it, down", {150, 60}, {90, 200}, true, 50, 200);
    row("pressed in it, up", {150, 60}, {290, 10}, true, 0, 50);
    row("pressed in it, level to the right", {150, 60}, {400, 60}, true, 0, 50);
    row("pressed in it, a little down to the right", {150, 60}, {400, 61}, true, 50, 200);
    row("ends in it, from the left", {20, 10}, {150, 60}, true, 0, 50);
    row("ends in it, from the left and below", {20, 200}, {150, 60}, true, 0, 50);
    row("ends in it, from the right", {400, 60}, {150, 60}, true, 50, 200);
    row("ends in it, from the right and above", {400, 10}, {150, 60}, true, 50, 200);
    row("ends in it, from right above it", {160, 10}, {150, 60}, true, 0, 50);
    row("ends in it, from right below it", {160, 200}, {150, 60}, true, 50, 200);
    row("rows swept", {10, 10}, {20, 200}, true, 0, 200);
    row("rows swept upwards", {20, 200}, {10, 10}, true, 0, 200);
    row("rows swept to the pixel", {10, 50}, {20, 70}, true, 0, 200);
    row("rows swept straight down", {10, 10}, {10, 200}, true, 0, 0);
    row("on the first row, columns swept", {10, 60}, {400, 200}, true, 0, 200);
    row("on the first row, columns not swept", {10, 60}, {90, 200}, true, 0, 0);
    row("on the last row, columns swept", {400, 10}, {10, 60}, true, 0, 200);
    row("on the last row, columns half swept", {200, 10}, {10, 60}, true, 0, 0);
    row("along its row, columns swept", {90, 60}, {310, 61}, true, 0, 200);
    row("along its row, columns not swept", {10, 60}, {90, 61}, false, 0, 0);
    row("above it", {10, 10}, {400, 49}, false, 0, 0);
    row("below it", {10, 71}, {400, 200}, false, 0, 0);
}

void TextSelectionTest::rules()
{
    QFETCH(QPointF, press);
    QFETCH(QPointF, current);
    QFETCH(QPointF, doubleClick);
    QFETCH(bool, all);
    QFETCH(bool, shown);
    QFETCH(int, from);
    QFETCH(int, to);
    const SelectionDrag drag = {press, current, doubleClick, all};
    const SelectionPart part = partByPages(box, drag);
    QCOMPARE(part.shown, shown);
    if (shown) {
        QCOMPARE(part.from, double(from));
        QCOMPARE(part.to, double(to));
    }
    const SelectionPart model = selectionPart(box, drag);
    QCOMPARE(model.shown, shown);
    QCOMPARE(model.from, double(from));
    QCOMPARE(model.to, double(to));
}

void TextSelectionTest::anyDragIsAsInTheModel_data()
{
    QTest::addColumn<bool>("nearby");
    QTest::newRow("anywhere") << false;
    QTest::newRow("around the edges") << true;
}

void TextSelectionTest::anyDragIsAsInTheModel()
{
    QFETCH(bool, nearby);
    QRandomGenerator random(nearby ? 11 : 7);
    const auto number = [&](double from, double to) {
        if (!nearby) {
            return double(random.bounded(0, 400));
        }
        const double edges[] = {from - 1, from, from + 1, (from + to) / 2, to - 1, to, to + 1};
        return edges[random.bounded(7)];
    };
    const auto point = [&] {
        const double x = number(box.left(), box.right());
        return QPointF(x, number(box.top(), box.bottom()));
    };
    for (int i = 0; i < 4000; ++i) {
        SelectionDrag drag = {point(), point()};
        if (random.bounded(8) == 0) {
            drag.doubleClick = point();
        }
        drag.all = random.bounded(40) == 0;
        const SelectionPart pages = partByPages(box, drag);
        const SelectionPart model = selectionPart(box, drag);
        const QByteArray what = QStringLiteral("%1,%2 to %3,%4")
                                    .arg(drag.press.x())
                                    .arg(drag.press.y())
                                    .arg(drag.current.x())
                                    .arg(drag.current.y())
                                    .toUtf8();
        QVERIFY2(pages.shown == model.shown, what.constData());
        if (model.shown) {
            QVERIFY2(qFuzzyCompare(pages.from + 1, model.from + 1) &&
                         qFuzzyCompare(pages.to + 1, model.to + 1),
                     what.constData());
        }
    }
}

void TextSelectionTest::pageOfSixtyLines_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1366x768") << QSize(1366, 768);
    QTest::newRow("1920x1034") << QSize(1920, 1034);
}

// Real drags over a page of text, in all directions; what is copied is what the model marks.
void TextSelectionTest::pageOfSixtyLines()
{
    QFETCH(QSize, size);
    PagesFixture pages;
    pages.videoInfo.appendDay(dayAgo(0, {40, 90, 120}));
    QVERIFY(pages.show(size));
    QTRY_VERIFY(pages.view.isActive());
    QTRY_VERIFY(control("Button_regionRecognition"));
    PagesFixture::click(control("Button_regionRecognition"));
    QTest::keyClick(&pages.view, Qt::Key_Return); // the whole picture
    pages.videoInfo.showText(sixtyLines());
    QQuickItem *text = control("Pane_allText");
    QVERIFY(text);
    const QVector<QRectF> boxes = boxesOnShow();
    QRandomGenerator random(3);
    const QRectF page =
        text->mapRectToScene(QRectF(0, 0, boxes.last().right() + 20, boxes.last().bottom() + 20));
    const auto point = [&] {
        const int x = random.bounded(int(page.left()) + 1, int(page.right()));
        return QPoint(x, random.bounded(int(page.top()) + 1, int(page.bottom())));
    };
    int compared = 0;
    for (int i = 0; i < 60; ++i) {
        const QPoint from = point();
        const QPoint to = i % 4 == 0 ? QPoint(point().x(), from.y() + i % 3) : point();
        QTest::mousePress(&pages.view, Qt::LeftButton, {}, from);
        QTest::mouseMove(&pages.view, point());
        QTest::mouseMove(&pages.view, to);
        QTest::mouseRelease(&pages.view, Qt::LeftButton, {}, to);
        QTest::keySequence(&pages.view, QKeySequence::Copy);
        const SelectionDrag drag = {text->mapFromScene(from), text->mapFromScene(to)};
        if (isUndecided(boxes, drag)) {
            continue;
        }
        ++compared;
        QCOMPARE(pages.videoInfo.clipBoardText, textByModel(boxes, drag));
    }
    QVERIFY2(compared > 30, qPrintable(QString::number(compared)));
    QTest::keySequence(&pages.view, QKeySequence::SelectAll);
    QTest::keySequence(&pages.view, QKeySequence::Copy);
    SelectionDrag all;
    all.all = true;
    QCOMPARE(pages.videoInfo.clipBoardText, textByModel(boxes, all));
    for (int i : {0, 29, 30, 59}) {
        const QPointF centre = boxes.at(i).center();
        QTest::mouseDClick(&pages.view, Qt::LeftButton, {}, PagesFixture::at(text, centre));
        QTest::keySequence(&pages.view, QKeySequence::Copy);
        QCOMPARE(pages.videoInfo.clipBoardText,
                 textByModel(boxes, {centre, centre, centre, false}));
    }
    QCOMPARE(pages.warnings(), QStringList());
}

QTEST_MAIN(TextSelectionTest)
#include "textselectiontest.moc"
