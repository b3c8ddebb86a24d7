#pragma once
// Where the help pages lie and which language the user reads. Any thread.

#include <QString>
#include <QStringList>

class HelpPages
{
public:
    /// Pages beside the running executable, in an installation and in a build.
    static HelpPages beside(const QString &program);

    /// @p folder holds a folder for each application with a page LANGUAGE.html for each language.
    explicit HelpPages(const QString &folder) : m_folder(folder) {}

    /// False for an id that no application with help bears.
    bool knows(const QString &application) const;

    /// The page in the first of @p languages (such as "zh_CN.UTF-8") that there is one in, else in
    /// English. Empty if there is none.
    QString page(const QString &application, const QStringList &languages) const;

private:
    QString folderOf(const QString &application) const;

    QString m_folder;
};

/// What the environment says of the language of texts, best first: the list of LANGUAGE, then
/// LC_ALL, else LC_MESSAGES, else LANG.
QStringList textLanguagesOfEnvironment();
