#pragma once
// A home, schemas and an environment for one bridge, and its settings as another program sees them.
// Test thread only.

#include <QProcessEnvironment>
#include <QTemporaryDir>

class DesktopWorld
{
public:
    /// Which schemas are installed besides those of the desktops in schemas/.
    enum class Schemas {
        Ours,            ///< those of the bridge
        None,            ///< neither ours nor a desktop's
        Desktop,         ///< a desktop's own
        OursHidesDesktop ///< ours in a prefix, a desktop's own behind it in the system
    };

    explicit DesktopWorld(Schemas schemas = Schemas::Ours);

    /// False if the schemas could not be compiled.
    bool isValid() const { return m_valid; }

    const QProcessEnvironment &environment() const { return m_environment; }
    void setVariable(const QString &name, const QString &value)
    {
        m_environment.insert(name, value);
    }

    /// Value as `gsettings` prints it, with quotes; empty if it fails.
    QString get(const QString &schema, const QString &key) const;
    bool set(const QString &schema, const QString &key, const QString &value) const;

    QString style() const;
    QString hours() const;

    /// What the backend of the settings has stored so far.
    QByteArray stored() const;

    QString path(const QString &file) const { return m_folder.filePath(file); }
    bool write(const QString &file, const QByteArray &text) const;

private:
    bool install(const QStringList &files, const QString &folder) const;
    QString gsettings(const QStringList &arguments, bool *succeeded) const;

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
    bool m_valid = false;
};
