#include "qml/searchpageworld.h"

#include <QQmlEngine>
#include <QQmlExpression>
#include <QTest>

namespace SearchPageWorld
{
namespace
{
const QString prefix = QStringLiteral("tavel-ai-yestermark_");
} // namespace

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

void search(PagesFixture *pages, const char *text)
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

QColor themeColour(QQuickItem *item, const char *name)
{
    QQmlExpression colour(qmlContext(item), item, QLatin1String("Theme.") + QLatin1String(name));
    return colour.evaluate().value<QColor>();
}

QColor colourOf(QQuickItem *item)
{
    return item->property("color").value<QColor>();
}
} // namespace SearchPageWorld
