#include "qml/regionworld.h"

#include <QTest>

namespace RegionWorld
{
QQuickItem *control(const char *name)
{
    return PagesFixture::control(QLatin1String("tavel-ai-yestermark_") + QLatin1String(name));
}

void open(PagesFixture *pages)
{
    pages->videoInfo.appendDay(dayAgo(0, {40, 90, 120}));
    QVERIFY(pages->show());
    QTRY_VERIFY(pages->view.isActive());
    QTRY_VERIFY(control("Button_regionRecognition"));
}

void openRegion(PagesFixture *pages)
{
    open(pages);
    PagesFixture::click(control("Button_regionRecognition"));
    QVERIFY(control("Pane_screenCapture"));
    pages->calls.take();
}

QPoint onCapture(const QPointF &point)
{
    return PagesFixture::at(control("Pane_screenCapture"), point);
}

void drag(PagesFixture *pages, const QPoint &from, const QPoint &to)
{
    QTest::mousePress(&pages->view, Qt::LeftButton, {}, from);
    QTest::mouseMove(&pages->view, (from + to) / 2);
    QTest::mouseMove(&pages->view, to);
    QTest::mouseRelease(&pages->view, Qt::LeftButton, {}, to);
}

qreal pictureScale()
{
    return control("Pane_screenCapture")->property("pictureScale").toReal();
}

QStringList sentTask(PagesFixture *pages)
{
    const QString start = QStringLiteral("recognizingTextInImage(");
    for (const QString &call : pages->calls.calls()) {
        if (call.startsWith(start)) {
            return call.mid(start.size(), call.size() - start.size() - 1)
                .split(QStringLiteral(", "));
        }
    }
    return {};
}

OCRTextData line(const QString &text, const QRectF &rect)
{
    return {text, {rect.topLeft(), rect.topRight(), rect.bottomRight(), rect.bottomLeft()}};
}

QVector<OCRTextData> lines(const QStringList &texts)
{
    QVector<OCRTextData> made;
    for (const QString &text : texts) {
        made.append(line(text, QRectF(20, 10 + 40 * made.size(), 300, 30)));
    }
    return made;
}

void openText(PagesFixture *pages, const QStringList &texts)
{
    openRegion(pages);
    drag(pages, onCapture(QPointF(100, 100)), onCapture(QPointF(700, 500)));
    pages->videoInfo.showText(lines(texts));
    QVERIFY(control("Pane_allText"));
    pages->calls.take();
}

QStringList copied(PagesFixture *pages)
{
    pages->videoInfo.clipBoardText = QStringList(QStringLiteral("not called"));
    QTest::keySequence(&pages->view, QKeySequence::Copy);
    return pages->videoInfo.clipBoardText;
}
} // namespace RegionWorld
