// Single keys of desktop files, and the splitting of texts.

#include "appinfo/desktopfile.h"
#include "appinfo/splitstring.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class DesktopFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMissingFileYieldsAnEmptyText()
    {
        QCOMPARE(getValueFromDesktopFile(m_directory.filePath("none.desktop"), "Name"), QString());
        QVERIFY(!QFile::exists(m_directory.filePath("none.desktop")));
    }

    void keysAreReadFromTheDesktopEntryAlone_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::newRow("plain") << "Icon"
                               << "org.example.Editor";
        QTest::newRow("UTF-8") << "Name"
                               << "Éditeur 编辑器";
        QTest::newRow("with blanks") << "Exec"
                                     << "editor --new %U";
        QTest::newRow("a key with its locale, asked for as such") << "Name[de]"
                                                                  << "Schreiber";
        QTest::newRow("missing") << "Comment"
                                 << "";
        QTest::newRow("a list is no text") << "Keywords"
                                           << "";
        QTest::newRow("a text ends at a semicolon") << "Categories"
                                                    << "Utility";
        QTest::newRow("another group's") << "Only"
                                         << "";
        QTest::newRow("other case") << "icon"
                                    << "";
    }
    void keysAreReadFromTheDesktopEntryAlone()
    {
        QFETCH(QString, key);
        const QString file = write("[Desktop Action New]\nOnly=there\nIcon=other\n"
                                   "[Desktop Entry]\nName=Éditeur 编辑器\nName[de]=Schreiber\n"
                                   "Icon=org.example.Editor\nExec=editor --new %U\n"
                                   "Keywords=one, two\nCategories=Utility;Editor;\n");
        QTEST(getValueFromDesktopFile(file, key), "value");
    }

    void noTranslationIsLookedFor()
    {
        qputenv("LANGUAGE", "de");
        const QString file = write("[Desktop Entry]\nName[de]=Schreiber\nName=Editor\n");
        QCOMPARE(getValueFromDesktopFile(file, "Name"), QStringLiteral("Editor"));
        qunsetenv("LANGUAGE");
    }

    void whatIsNoDesktopFileYieldsAnEmptyText_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no group") << QByteArray("Name=Editor\n");
        QTest::newRow("bytes") << QByteArray("\x00\xff[[[\n=\n\xfe", 9);
    }
    void whatIsNoDesktopFileYieldsAnEmptyText()
    {
        QFETCH(QByteArray, content);
        QCOMPARE(getValueFromDesktopFile(write(content), "Name"), QString());
    }

    void readingChangesNothing()
    {
        const QByteArray content("[Desktop Entry]\nName=Editor\n");
        const QString file = write(content);
        QCOMPARE(getValueFromDesktopFile(file, "Name"), QStringLiteral("Editor"));
        QFile back(file);
        QVERIFY(back.open(QFile::ReadOnly));
        QCOMPARE(back.readAll(), content);
    }

    void splittingDropsEmptyPieces_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("pieces");
        QTest::newRow("empty") << "" << QStringList();
        QTest::newRow("delimiters only") << ":::" << QStringList();
        QTest::newRow("one") << "/bin" << QStringList{"/bin"};
        QTest::newRow("edges and gaps") << ":/bin::/usr/bin:" << QStringList{"/bin", "/usr/bin"};
    }
    void splittingDropsEmptyPieces()
    {
        QFETCH(QString, text);
        QStringList pieces;
        for (const std::string &piece : splitString(text.toStdString(), ':')) {
            pieces.append(QString::fromStdString(piece));
        }
        QTEST(pieces, "pieces");
    }

private:
    QString write(const QByteArray &content) const
    {
        QString name = m_directory.filePath("test.desktop");
        QFile file(name);
        if (!file.open(QFile::WriteOnly) || file.write(content) != content.size()) {
            qFatal("cannot write %s", qPrintable(name));
        }
        return name;
    }

    QTemporaryDir m_directory;
};

QTEST_GUILESS_MAIN(DesktopFileTest)
#include "desktopfiletest.moc"
