// The help pages as they leave the build: whole in themselves, in two languages with one structure.

#include <QFile>
#include <QSet>
#include <QTest>
#include <QXmlStreamReader>

namespace
{
struct Page {
    QString error;
    QStringList sections; // ids in order
    QStringList links;    // targets of links in order
    QStringList elements; // names in order
    QSet<QString> paths;  // texts in "code"
    QString text;
    QString language;
};

Page readPage(const QString &language)
{
    Page page;
    QFile file(
        QStringLiteral(BUILD_FOLDER "/share/tavel-ai-yestermark/help/%1.html").arg(language));
    if (!file.open(QFile::ReadOnly)) {
        page.error = file.errorString();
        return page;
    }
    page.text = QString::fromUtf8(file.readAll());
    QXmlStreamReader reader(page.text);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        const QXmlStreamAttributes attributes = reader.attributes();
        page.elements.append(reader.name().toString());
        if (reader.name() == QLatin1String("html")) {
            page.language = attributes.value(QLatin1String("lang")).toString();
        }
        if (attributes.hasAttribute(QLatin1String("id"))) {
            page.sections.append(attributes.value(QLatin1String("id")).toString());
        }
        if (attributes.hasAttribute(QLatin1String("href"))) {
            page.links.append(attributes.value(QLatin1String("href")).toString());
        }
        if (reader.name() == QLatin1String("code")) {
            page.paths.insert(reader.readElementText());
        }
    }
    page.error = reader.hasError() ? reader.errorString() : QString();
    return page;
}
} // namespace

class HelpPagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pageIsWellFormedAndWhole_data();
    void pageIsWellFormedAndWhole();
    void bothLanguagesTellTheSame();
};

void HelpPagesTest::pageIsWellFormedAndWhole_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("tag");
    QTest::newRow("English") << "en"
                             << "en";
    QTest::newRow("Chinese") << "zh_CN"
                             << "zh-CN";
}

void HelpPagesTest::pageIsWellFormedAndWhole()
{
    QFETCH(QString, language);
    QFETCH(QString, tag);
    const Page page = readPage(language);
    QCOMPARE(page.error, QString());
    QCOMPARE(page.language, tag);
    QVERIFY(page.sections.size() >= 12);
    for (const QString &link : page.links) {
        QVERIFY2(link.startsWith(QLatin1Char('#')), qPrintable(link)); // nothing from elsewhere
        QVERIFY2(page.sections.contains(link.mid(1)), qPrintable(link));
    }
    QVERIFY(page.text.contains(QLatin1String("prefers-color-scheme: dark")));
    QVERIFY(!page.text.contains(QLatin1String("://")));
    for (const char *folder :
         {"screenshots/", "traditional_database/", "vector_database/", "log/"}) {
        QVERIFY2(page.paths.contains(QStringLiteral("~/.cache/tavel-ai-yestermark/") +
                                     QLatin1String(folder)),
                 folder);
    }
}

void HelpPagesTest::bothLanguagesTellTheSame()
{
    const Page english = readPage(QStringLiteral("en"));
    const Page chinese = readPage(QStringLiteral("zh_CN"));
    QCOMPARE(chinese.sections, english.sections);
    QCOMPARE(chinese.links, english.links);
    QCOMPARE(chinese.paths, english.paths);
    for (const char *element : {"h2", "li", "tr", "p"}) {
        QCOMPARE(chinese.elements.count(QLatin1String(element)),
                 english.elements.count(QLatin1String(element)));
    }
}

QTEST_GUILESS_MAIN(HelpPagesTest)
#include "helppagestest.moc"
