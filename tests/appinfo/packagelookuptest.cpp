// From a program's file to the package that owns it, and to the desktop entries of that package.

#include "appinfo/appinfohelper.h"

#include "packageworld.h"

#include <QTest>

#include <memory>

class PackageLookupTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<PackageWorld>(); }
    void cleanup() { m_world.reset(); }

    // Owners
    void aFileBelongsToThePackageThatListsIt();
    void onlyAWholeLineFits_data();
    void onlyAWholeLineFits();
    void theLastLineNeedsNoNewline();
    void libraryPackagesNeverMatch();
    void anArchitectureSuffixStaysInTheName();
    void onlyListsAreRead_data();
    void onlyListsAreRead();
    void theFirstListInTheDirectorysOrderWins();
    void anExeIsFoundWithinALine();
    void aMissingDirectoryOwnsNothing();
    void anOwnerIsKeptAndAFailureIsNot();
    void aLinkIsFollowedOnce();
    void aRelativeLinkDoesNotMatch();
    void aLinksOwnerIsKeptUnderTheLinksName();
    void thisMachinesOwnListsAreRead();

    // Entries
    void entriesComeInTheOrderOfTheList();
    void entriesNeedAPackageWithAList();

    // Links
    void linksAreToldFromFiles();

private:
    AppInfoHelper helper() const
    {
        return AppInfoHelper(m_world->processDirectory(), m_world->listDirectory());
    }
    QString owner(const std::string &file) const
    {
        return QString::fromStdString(helper().findDebPackageForFile(file));
    }
    // Paths that no other test has used, since owners are kept for the life of the process.
    std::string own(const std::string &name) const { return m_world->path("usr/bin/" + name); }

    std::unique_ptr<PackageWorld> m_world;
};

void PackageLookupTest::aFileBelongsToThePackageThatListsIt()
{
    m_world->package("viewer", {"/.", "/usr", own("viewer")});
    m_world->package("editor", {"/.", "/usr", own("editor"), own("editor-tool")});
    QCOMPARE(owner(own("editor")), QStringLiteral("editor"));
    QCOMPARE(owner(own("viewer")), QStringLiteral("viewer"));
    QCOMPARE(owner(own("nobody")), QString());
}

void PackageLookupTest::onlyAWholeLineFits_data()
{
    QTest::addColumn<QString>("line"); // "@" stands for the file
    QTest::newRow("longer") << "@-tool";
    QTest::newRow("shorter") << "/usr/bin/edito";
    QTest::newRow("with a prefix") << "x@";
    QTest::newRow("with a blank") << "@ ";
    QTest::newRow("with a carriage return") << "@\r";
}

void PackageLookupTest::onlyAWholeLineFits()
{
    QFETCH(QString, line);
    const std::string file = own("editor");
    m_world->package("editor", {line.replace('@', QString::fromStdString(file)).toStdString()});
    QCOMPARE(owner(file), QString());
}

void PackageLookupTest::theLastLineNeedsNoNewline()
{
    m_world->write("info/editor.list", "/.\n/usr\n" + own("editor"));
    QCOMPARE(owner(own("editor")), QStringLiteral("editor"));
}

void PackageLookupTest::libraryPackagesNeverMatch()
{
    m_world->package("libreeditor", {own("editor")});
    m_world->package("liblist", {own("editor")});
    QCOMPARE(owner(own("editor")), QString());
    m_world->package("kylib", {own("editor")});
    QCOMPARE(owner(own("editor")), QStringLiteral("kylib"));
}

void PackageLookupTest::anArchitectureSuffixStaysInTheName()
{
    m_world->package("editor:amd64", {own("editor"), "/usr/share/applications/editor.desktop"});
    QCOMPARE(owner(own("editor")), QStringLiteral("editor:amd64"));
    QVERIFY(helper().getDesktopFileFromDebPackage("editor:amd64") ==
            std::vector<std::string>{"/usr/share/applications/editor.desktop"});
}

void PackageLookupTest::onlyListsAreRead_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("checksums") << "editor.md5sums";
    QTest::newRow("a copy") << "editor.list.bak";
    QTest::newRow("no extension") << "list";
    QTest::newRow("nothing before the extension") << ".list";
    QTest::newRow("other case") << "editor.LIST";
}

void PackageLookupTest::onlyListsAreRead()
{
    QFETCH(QString, name);
    m_world->write("info/" + name.toStdString(), own("editor") + '\n');
    QCOMPARE(owner(own("editor")), QString());
}

void PackageLookupTest::theFirstListInTheDirectorysOrderWins()
{
    for (const char *name : {"c", "a", "d", "b"}) {
        m_world->package(name, {own("editor")});
    }
    const std::filesystem::directory_iterator first(m_world->listDirectory());
    QCOMPARE(owner(own("editor")), QString::fromStdString(first->path().stem().string()));
}

void PackageLookupTest::anExeIsFoundWithinALine()
{
    m_world->package("wine-app", {"/opt/wine-app/drive_c/Program Files/App/app.exe"});
    QCOMPARE(owner("Program Files/App/app.exe"), QStringLiteral("wine-app"));
    QCOMPARE(owner("Program Files/Other/app.exe"), QString());
    QCOMPARE(owner("Program Files/App/app"), QString());
}

void PackageLookupTest::aMissingDirectoryOwnsNothing()
{
    QCOMPARE(owner(own("editor")), QString());
    QVERIFY(helper().getDesktopFileFromDebPackage("editor").empty());
}

void PackageLookupTest::anOwnerIsKeptAndAFailureIsNot()
{
    QCOMPARE(owner(own("editor")), QString());
    m_world->package("editor", {own("editor")});
    QCOMPARE(owner(own("editor")), QStringLiteral("editor"));
    m_world->removePackage("editor");
    QCOMPARE(owner(own("editor")), QStringLiteral("editor"));
}

void PackageLookupTest::aLinkIsFollowedOnce()
{
    const std::string program = m_world->program("usr/bin/editor-2");
    m_world->package("editor", {program});
    const std::string once = m_world->link("etc/editor", program);
    const std::string twice = m_world->link("usr/bin/vi", once);
    QCOMPARE(owner(once), QStringLiteral("editor"));
    QCOMPARE(owner(twice), QString());
}

void PackageLookupTest::aRelativeLinkDoesNotMatch()
{
    m_world->package("editor", {m_world->program("usr/bin/editor-2")});
    QCOMPARE(owner(m_world->link("usr/bin/editor", "editor-2")), QString());
    // The link itself being listed does not help: what it points to is looked for.
    m_world->package("alternatives", {own("editor")});
    QCOMPARE(owner(own("editor")), QString());
}

void PackageLookupTest::aLinksOwnerIsKeptUnderTheLinksName()
{
    const std::string program = m_world->program("usr/bin/editor-2");
    const std::string link = m_world->link("usr/bin/editor", program);
    m_world->package("editor", {program});
    QCOMPARE(owner(link), QStringLiteral("editor"));
    m_world->removePackage("editor");
    QCOMPARE(owner(link), QStringLiteral("editor"));
    QCOMPARE(owner(program), QString());
}

void PackageLookupTest::thisMachinesOwnListsAreRead()
{
    if (!QFile::exists(QStringLiteral("/var/lib/dpkg/info/dpkg.list"))) {
        QSKIP("no package database of this kind here");
    }
    QCOMPARE(AppInfoHelper::getInstance().findDebPackageForFile("/usr/bin/dpkg"),
             std::string("dpkg"));
}

void PackageLookupTest::entriesComeInTheOrderOfTheList()
{
    m_world->package("editor", {"/.", "/z/b.desktop", "/usr/bin/editor", "", "/a/a.desktop",
                                ".desktop", "desktop", "/a/a.desktop.bak", "/a/xdesktop"});
    QVERIFY(helper().getDesktopFileFromDebPackage("editor") ==
            (std::vector<std::string>{"/z/b.desktop", "/a/a.desktop", ".desktop"}));
}

void PackageLookupTest::entriesNeedAPackageWithAList()
{
    m_world->write("info/.list", "/a/a.desktop\n");
    QVERIFY(helper().getDesktopFileFromDebPackage("").empty());
    QVERIFY(helper().getDesktopFileFromDebPackage("nobody").empty());
}

void PackageLookupTest::linksAreToldFromFiles()
{
    const AppInfoHelper apps = helper();
    const std::string file = m_world->write("file", "");
    const std::string link = m_world->link("link", "somewhere/else");
    QVERIFY(!apps.isSymbolicLink(file));
    QVERIFY(apps.isSymbolicLink(link));
    QVERIFY(!apps.isSymbolicLink(m_world->path("none")));
    QCOMPARE(apps.getSymbolicLinkTarget(link), std::string("somewhere/else"));
    QVERIFY(apps.getSymbolicLinkTarget(file).empty());
    QVERIFY(apps.getSymbolicLinkTarget(m_world->path("none")).empty());
}

QTEST_GUILESS_MAIN(PackageLookupTest)
#include "packagelookuptest.moc"
